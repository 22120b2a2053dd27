#include "import/line_reader.h"

#include <cstring>

namespace panedeck::engine {

bool LineReader::next() {
    m_too_long = false;
    std::size_t searched = 0;
    for (;;) {
        const std::string_view ahead = m_input.ahead();
        const void* end = std::memchr(ahead.data() + searched, '\n', ahead.size() - searched);
        if (end) {
            const auto size = static_cast<std::size_t>(static_cast<const char*>(end) - ahead.data());
            return take(size, size + 1);
        }
        searched = ahead.size();
        if (searched > m_input.limits().line_bytes) return passOver();
        if (!m_input.fill()) {
            if (m_input.stopped(0) || searched == 0) return false;
            return take(searched, searched);
        }
    }
}

bool LineReader::take(std::size_t size, std::size_t with_end) {
    m_line = m_input.ahead().substr(0, size);
    m_input.consume(with_end);
    ++m_number;
    if (m_line.ends_with('\r')) m_line.remove_suffix(1);
    if (m_line.size() > m_input.limits().line_bytes) {
        m_too_long = true;
        m_line = {};
    }
    return true;
}

// Drops what was read of the line, so that memory stays bounded, up to and with its end.
bool LineReader::passOver() {
    m_too_long = true;
    m_line = {};
    for (;;) {
        const std::string_view ahead = m_input.ahead();
        const std::size_t end = ahead.find('\n');
        if (end != std::string_view::npos) {
            m_input.consume(end + 1);
            break;
        }
        m_input.consume(ahead.size());
        if (m_input.fill()) continue;
        if (m_input.stopped(0)) return false;
        break;
    }
    ++m_number;
    return true;
}

} // namespace panedeck::engine
