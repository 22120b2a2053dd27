#include "import/prefixed_source.h"

#include <algorithm>
#include <cstring>

namespace panedeck::engine {

std::string_view PrefixedSource::peek(std::size_t size) {
    while (m_end < std::min(size, sizeof(m_prefix))) {
        const std::size_t count = m_source->read(m_prefix + m_end, std::min(size, sizeof(m_prefix)) - m_end);
        if (count == 0) break;
        m_end += count;
    }
    return {m_prefix + m_begin, m_end - m_begin};
}

std::size_t PrefixedSource::read(char* buffer, std::size_t size) {
    if (m_begin == m_end) return m_source->read(buffer, size);
    const std::size_t count = std::min(size, m_end - m_begin);
    std::memcpy(buffer, m_prefix + m_begin, count);
    m_begin += count;
    return count;
}

} // namespace panedeck::engine
