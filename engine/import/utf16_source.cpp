#include "import/utf16_source.h"

#include <algorithm>
#include <cstring>

namespace panedeck::engine {

namespace {

constexpr std::size_t input_bytes = std::size_t{64} << 10;
constexpr char32_t replacement = 0xFFFD;

bool isHighSurrogate(char32_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}
bool isLowSurrogate(char32_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

} // namespace

Utf16Source::Utf16Source(std::unique_ptr<IByteSource> source, bool big_endian)
    : m_source(std::move(source)), m_big_endian(big_endian), m_input(input_bytes) {}

std::size_t Utf16Source::read(char* buffer, std::size_t size) {
    while (m_output_begin == m_output.size())
        if (!refill()) return 0;
    const std::size_t count = std::min(size, m_output.size() - m_output_begin);
    std::memcpy(buffer, m_output.data() + m_output_begin, count);
    m_output_begin += count;
    return count;
}

// At the end, whatever still waits for its other half is broken.
bool Utf16Source::refill() {
    m_output.clear();
    m_output_begin = 0;
    const std::size_t count = m_source->read(m_input.data(), m_input.size());
    for (std::size_t i = 0; i < count; ++i) {
        const auto byte = static_cast<unsigned char>(m_input[i]);
        if (m_has_odd_byte)
            addUnit(m_big_endian ? char32_t(m_odd_byte) << 8 | byte : char32_t(byte) << 8 | m_odd_byte);
        m_odd_byte = byte;
        m_has_odd_byte = !m_has_odd_byte;
    }
    if (count == 0) {
        if (m_high_surrogate) addCodePoint(replacement);
        if (m_has_odd_byte) addCodePoint(replacement);
        m_high_surrogate = 0;
        m_has_odd_byte = false;
    }
    return count > 0 || !m_output.empty();
}

void Utf16Source::addUnit(char32_t unit) {
    if (m_high_surrogate && isLowSurrogate(unit)) {
        addCodePoint(0x10000 + ((m_high_surrogate - 0xD800) << 10) + (unit - 0xDC00));
        m_high_surrogate = 0;
        return;
    }
    if (m_high_surrogate) addCodePoint(replacement);
    m_high_surrogate = isHighSurrogate(unit) ? unit : 0;
    if (!m_high_surrogate) addCodePoint(isLowSurrogate(unit) ? replacement : unit);
}

void Utf16Source::addCodePoint(char32_t code_point) {
    const auto add = [&](char32_t byte) { m_output.push_back(static_cast<char>(byte)); };
    if (code_point < 0x80) {
        add(code_point);
    } else if (code_point < 0x800) {
        add(0xC0 | code_point >> 6);
        add(0x80 | (code_point & 0x3F));
    } else if (code_point < 0x10000) {
        add(0xE0 | code_point >> 12);
        add(0x80 | (code_point >> 6 & 0x3F));
        add(0x80 | (code_point & 0x3F));
    } else {
        add(0xF0 | code_point >> 18);
        add(0x80 | (code_point >> 12 & 0x3F));
        add(0x80 | (code_point >> 6 & 0x3F));
        add(0x80 | (code_point & 0x3F));
    }
}

} // namespace panedeck::engine
