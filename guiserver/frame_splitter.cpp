#include "frame_splitter.h"

#include <utility>

namespace panedeck::guiserver {

void FrameSplitter::append(std::string_view bytes) {
    m_buffer.erase(0, m_begin);
    m_searched -= std::exchange(m_begin, 0);
    m_buffer.append(bytes);
}

std::optional<std::string> FrameSplitter::next() {
    const std::size_t end = m_buffer.find(terminator, m_searched);
    if (end == std::string::npos) {
        m_searched = m_buffer.size();
        return std::nullopt;
    }
    const std::size_t size = end - m_begin;
    const std::size_t behind = m_buffer.size() - end - 1;
    if (m_begin > 0 || size <= behind) {
        std::string frame = m_buffer.substr(m_begin, size);
        m_begin = m_searched = end + 1;
        return frame;
    }
    std::string rest = m_buffer.substr(end + 1);
    m_buffer.resize(size);
    m_searched = 0;
    return std::exchange(m_buffer, std::move(rest));
}

} // namespace panedeck::guiserver
