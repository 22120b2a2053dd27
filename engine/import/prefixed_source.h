#pragma once

#include "import/byte_source.h"

#include <memory>
#include <string_view>

namespace panedeck::engine {

/// Another source whose first bytes can be looked at before they are read.
class PrefixedSource final : public IByteSource {
public:
    explicit PrefixedSource(std::unique_ptr<IByteSource> source) : m_source(std::move(source)) {}

    /// The first `size` unread bytes (at most 8), fewer if the source is shorter.
    std::string_view peek(std::size_t size);

    /// Drops bytes that were peeked at.
    void drop(std::size_t size) { m_begin += size; }

    std::size_t read(char* buffer, std::size_t size) override;
    const std::string& failure() const override { return m_source->failure(); }
    std::uint64_t position() const override { return m_source->position(); }

private:
    std::unique_ptr<IByteSource> m_source;
    char m_prefix[8] = {};
    std::size_t m_begin = 0;
    std::size_t m_end = 0;
};

} // namespace panedeck::engine
