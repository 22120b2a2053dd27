#pragma once

#include "import/byte_source.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace panedeck::engine {

/// Bytes in memory, which must outlive the source.
class MemorySource final : public IByteSource {
public:
    explicit MemorySource(std::string_view bytes) : m_bytes(bytes) {}

    std::size_t read(char* buffer, std::size_t size) override {
        const std::size_t count = std::min(size, m_bytes.size() - m_position);
        if (count) std::memcpy(buffer, m_bytes.data() + m_position, count);
        m_position += count;
        return count;
    }

    const std::string& failure() const override { return m_failure; }
    std::uint64_t position() const override { return m_position; }

private:
    std::string_view m_bytes;
    std::size_t m_position = 0;
    std::string m_failure;
};

} // namespace panedeck::engine
