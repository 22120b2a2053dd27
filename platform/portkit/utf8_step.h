#pragma once

// Needed by whatever copies text that may be broken: the text forms of bags, `repair_utf8`.

#include <cstddef>

namespace portkit2 {

/// What stands at the front of a text: one well-formed character, or a broken part to be replaced as one.
struct utf8_step_t {
    unsigned length;
    bool is_valid;
};

namespace detail {

struct utf8_lead_t {
    unsigned length; ///< 0 for a byte that begins no character
    unsigned char second_low;
    unsigned char second_high;
};

/// The narrowed ranges of the second byte shut out overlong forms, surrogates and what lies past U+10FFFF.
constexpr utf8_lead_t classify_utf8_lead(unsigned char lead) {
    if (lead < 0x80) return {1, 0, 0};
    if (lead < 0xC2) return {0, 0, 0};
    if (lead < 0xE0) return {2, 0x80, 0xBF};
    if (lead == 0xE0) return {3, 0xA0, 0xBF};
    if (lead == 0xED) return {3, 0x80, 0x9F};
    if (lead < 0xF0) return {3, 0x80, 0xBF};
    if (lead == 0xF0) return {4, 0x90, 0xBF};
    if (lead < 0xF4) return {4, 0x80, 0xBF};
    if (lead == 0xF4) return {4, 0x80, 0x8F};
    return {0, 0, 0};
}

} // namespace detail

/// Looks at the front of a text of at least one byte. A broken part is the longest one that could have begun
/// a character, at least one byte.
inline utf8_step_t utf8_step(const char* text, std::size_t size) {
    const auto byte = [text](unsigned position) { return static_cast<unsigned char>(text[position]); };
    const detail::utf8_lead_t lead = detail::classify_utf8_lead(byte(0));
    if (lead.length < 2) return {1, lead.length == 1};
    for (unsigned position = 1; position < lead.length; ++position) {
        const unsigned char low = position == 1 ? lead.second_low : 0x80;
        const unsigned char high = position == 1 ? lead.second_high : 0xBF;
        if (position >= size || byte(position) < low || byte(position) > high) return {position, false};
    }
    return {lead.length, true};
}

} // namespace portkit2
