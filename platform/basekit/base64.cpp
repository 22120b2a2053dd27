#include "basekit/base64.h"

#include <array>
#include <cstdint>

namespace bk2 {

namespace {

constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::int8_t no_digit = -1;

constexpr std::array<std::int8_t, 256> digit_values = [] {
    std::array<std::int8_t, 256> values{};
    values.fill(no_digit);
    for (std::size_t digit = 0; digit < alphabet.size(); ++digit)
        values[static_cast<unsigned char>(alphabet[digit])] = static_cast<std::int8_t>(digit);
    return values;
}();

// Decodes four characters without padding; false if one of them is no digit.
bool decode_group(std::string_view group, std::uint32_t& bits) {
    bits = 0;
    for (const char character : group) {
        const std::int8_t digit = digit_values[static_cast<unsigned char>(character)];
        if (digit == no_digit) return false;
        bits = bits << 6 | static_cast<std::uint32_t>(digit);
    }
    return true;
}

} // namespace

std::string encode_base64(std::string_view bytes) {
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t position = 0; position < bytes.size(); position += 3) {
        const std::string_view group = bytes.substr(position, 3);
        std::uint32_t bits = 0;
        for (std::size_t i = 0; i < 3; ++i)
            bits = bits << 8 | (i < group.size() ? static_cast<unsigned char>(group[i]) : 0u);
        for (std::size_t i = 0; i < 4; ++i)
            text += i <= group.size() ? alphabet[bits >> (18 - 6 * i) & 0x3F] : '=';
    }
    return text;
}

std::optional<std::string> decode_base64(std::string_view text) {
    if (text.size() % 4 != 0) return std::nullopt;
    std::string bytes;
    bytes.reserve(text.size() / 4 * 3);
    for (std::size_t position = 0; position < text.size(); position += 4) {
        std::string group(text.substr(position, 4));
        std::size_t padding = 0;
        while (position + 4 == text.size() && padding < 2 && group[3 - padding] == '=')
            group[3 - padding++] = 'A';
        std::uint32_t bits = 0;
        if (!decode_group(group, bits)) return std::nullopt;
        // Bits behind the last byte must be zero, or two texts would mean the same bytes.
        if (bits & ((1u << 8 * padding) - 1)) return std::nullopt;
        for (std::size_t i = 0; i < 3 - padding; ++i)
            bytes += static_cast<char>(bits >> (16 - 8 * i));
    }
    return bytes;
}

} // namespace bk2
