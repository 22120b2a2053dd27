#pragma once

#include "import/byte_source.h"

namespace panedeck::engine {

/// The bytes of a file or pipe.
class FileSource final : public IByteSource {
public:
    FileSource() = default;
    ~FileSource() override;
    FileSource(const FileSource&) = delete;
    FileSource& operator=(const FileSource&) = delete;

    /// False, with `failure()`, if it cannot be opened or is a directory.
    bool open(const std::string& path);

    /// Size in bytes, 0 if unknown (a pipe).
    std::uint64_t size() const { return m_size; }

    std::size_t read(char* buffer, std::size_t size) override;
    const std::string& failure() const override { return m_failure; }
    std::uint64_t position() const override { return m_position; }

private:
    bool fail(const char* what);

    int m_descriptor = -1;
    std::uint64_t m_size = 0;
    std::uint64_t m_position = 0;
    std::string m_failure;
};

} // namespace panedeck::engine
