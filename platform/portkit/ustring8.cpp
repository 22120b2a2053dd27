#include "portkit/ustring8.h"

#include "portkit/utf8_step.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace portkit2 {

namespace {

constexpr std::string_view replacement_character = "\xEF\xBF\xBD";

// Nearly all text is ASCII: eight bytes at a time.
std::size_t skip_ascii(std::string_view text, std::size_t position) {
    constexpr std::uint64_t high_bits = 0x8080808080808080u;
    std::uint64_t word = 0;
    while (position + sizeof word <= text.size()) {
        std::memcpy(&word, text.data() + position, sizeof word);
        if (word & high_bits) break;
        position += sizeof word;
    }
    while (position < text.size() && static_cast<unsigned char>(text[position]) < 0x80)
        ++position;
    return position;
}

} // namespace

std::size_t valid_utf8_prefix(std::string_view text) {
    std::size_t position = skip_ascii(text, 0);
    while (position < text.size()) {
        const utf8_step_t step = utf8_step(text.data() + position, text.size() - position);
        if (!step.is_valid) return position;
        position = skip_ascii(text, position + step.length);
    }
    return position;
}

bool is_valid_utf8(std::string_view text) {
    return valid_utf8_prefix(text) == text.size();
}

ustring8 repair_utf8(std::string_view text) {
    ustring8 repaired;
    repaired.reserve(text.size());
    while (!text.empty()) {
        const std::size_t good = valid_utf8_prefix(text);
        repaired.append(text.substr(0, good));
        text.remove_prefix(good);
        if (text.empty()) break;
        repaired.append(replacement_character);
        text.remove_prefix(utf8_step(text.data(), text.size()).length);
    }
    return repaired;
}

namespace {

void append_character(ustring8& text, char32_t character) {
    const auto put = [&text](char32_t byte) { text += static_cast<char>(byte); };
    const auto put_tail = [&](unsigned shift) { put(0x80 | ((character >> shift) & 0x3F)); };
    if (character < 0x80) return put(character);
    if (character < 0x800) {
        put(0xC0 | (character >> 6));
    } else if (character < 0x10000) {
        put(0xE0 | (character >> 12));
        put_tail(6);
    } else {
        put(0xF0 | (character >> 18));
        put_tail(12);
        put_tail(6);
    }
    put_tail(0);
}

bool is_character(char32_t unit) {
    return unit < 0xD800 || (unit > 0xDFFF && unit <= 0x10FFFF);
}

// `bytes` is one well-formed character.
wchar_t decode_character(std::string_view bytes) {
    constexpr unsigned char lead_masks[] = {0, 0x7F, 0x1F, 0x0F, 0x07};
    char32_t character = static_cast<unsigned char>(bytes[0]) & lead_masks[bytes.size()];
    for (const char byte : bytes.substr(1))
        character = character << 6 | (static_cast<unsigned char>(byte) & 0x3F);
    return static_cast<wchar_t>(character);
}

} // namespace

ustring8 to_narrow(std::wstring_view text) {
    ustring8 narrowed;
    narrowed.reserve(text.size());
    for (const wchar_t unit : text) {
        const auto character = static_cast<char32_t>(unit);
        append_character(narrowed, is_character(character) ? character : U'\uFFFD');
    }
    return narrowed;
}

std::wstring to_wide(std::string_view text) {
    std::wstring widened;
    widened.reserve(text.size());
    while (!text.empty()) {
        const utf8_step_t step = utf8_step(text.data(), text.size());
        widened += step.is_valid ? decode_character(text.substr(0, step.length)) : L'\uFFFD';
        text.remove_prefix(step.length);
    }
    return widened;
}

namespace {

constexpr std::uint64_t each_byte(std::uint64_t byte) {
    return byte * 0x0101010101010101u;
}

// Eight bytes at once: a byte's high bit becomes that of its letter test, and 0x20 makes a letter small.
std::uint64_t lower_case(std::uint64_t bytes) {
    const std::uint64_t low_bits = bytes & each_byte(0x7F);
    const std::uint64_t from_a = low_bits + each_byte(0x80 - 'A');
    const std::uint64_t behind_z = low_bits + each_byte(0x7F - 'Z');
    return bytes | ((from_a ^ behind_z) & ~bytes & each_byte(0x80)) >> 2;
}

} // namespace

void lower_case(std::string_view text, ustring8& lowered) {
    lowered.resize(text.size());
    std::size_t position = 0;
    for (std::uint64_t word; position + sizeof word <= text.size(); position += sizeof word) {
        std::memcpy(&word, text.data() + position, sizeof word);
        word = lower_case(word);
        std::memcpy(lowered.data() + position, &word, sizeof word);
    }
    for (; position < text.size(); ++position) {
        const char c = text[position];
        lowered[position] = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
}

ustring8 lower_case(std::string_view text) {
    ustring8 lowered;
    lower_case(text, lowered);
    return lowered;
}

} // namespace portkit2
