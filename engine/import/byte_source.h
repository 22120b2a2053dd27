#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace panedeck::engine {

/// A stream of bytes that is read once from front to back.
class IByteSource {
public:
    virtual ~IByteSource() = default;

    /// Reads up to `size` bytes (at least 1 is asked for). 0 means that the end is reached or that reading
    /// failed.
    virtual std::size_t read(char* buffer, std::size_t size) = 0;

    /// Why the last read gave nothing; empty at a regular end.
    virtual const std::string& failure() const = 0;

    /// How many bytes of the file have been read, for progress: of the packed file if it is packed.
    virtual std::uint64_t position() const = 0;
};

} // namespace panedeck::engine
