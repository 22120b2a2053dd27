#include "basekit/xml_kind.h"

#include "basekit/base64.h"

#include <charconv>

namespace bk2 {

namespace {

struct named_kind_t {
    std::string_view name;
    das_variant_type_t tag;
};

constexpr named_kind_t value_kinds[] = {
    {"bool", vt_bool},     {"s8_t", vt_s8},     {"u8_t", vt_u8},       {"s16_t", vt_s16},
    {"u16_t", vt_u16},     {"s32_t", vt_s32},   {"u32_t", vt_u32},     {"s64_t", vt_s64},
    {"u64_t", vt_u64},     {"float", vt_float}, {"double", vt_double}, {"wtext", vt_wide_text},
    {"binary", vt_binary}, {"null", vt_null},
};

template <class Number>
std::optional<variant_t> parse_number(std::string_view text) {
    Number number{};
    const char* const end = text.data() + text.size();
    const std::from_chars_result parsed = std::from_chars(text.data(), end, number);
    if (parsed.ec != std::errc() || parsed.ptr != end) return std::nullopt;
    return variant_t(number);
}

std::optional<variant_t> parse_bool(std::string_view text) {
    if (text != "true" && text != "false") return std::nullopt;
    return variant_t(text == "true");
}

std::optional<variant_t> parse_binary(std::string_view text) {
    const std::optional<std::string> bytes = decode_base64(text);
    if (!bytes) return std::nullopt;
    return variant_t::binary(bytes->data(), bytes->size());
}

} // namespace

std::string_view get_xml_kind_name(das_variant_type_t tag) {
    if (tag == vt_text || tag == vt_text_ref) return {};
    if (tag == vt_wide_text_ref) tag = vt_wide_text;
    for (const named_kind_t& kind : value_kinds)
        if (kind.tag == tag) return kind.name;
    return get_xml_kind_name(vt_null);
}

std::optional<xml_kind_t> find_xml_kind(std::string_view name) {
    if (name == "bag") return xml_kind_t{true, vt_text};
    for (const named_kind_t& kind : value_kinds)
        if (kind.name == name) return xml_kind_t{false, kind.tag};
    return std::nullopt;
}

std::optional<variant_t> parse_xml_value(das_variant_type_t tag, std::string_view text) {
    switch (tag) {
    case vt_bool:
        return parse_bool(text);
    case vt_s8:
        return parse_number<s8_t>(text);
    case vt_u8:
        return parse_number<u8_t>(text);
    case vt_s16:
        return parse_number<s16_t>(text);
    case vt_u16:
        return parse_number<u16_t>(text);
    case vt_s32:
        return parse_number<s32_t>(text);
    case vt_u32:
        return parse_number<u32_t>(text);
    case vt_s64:
        return parse_number<s64_t>(text);
    case vt_u64:
        return parse_number<u64_t>(text);
    case vt_float:
        return parse_number<float>(text);
    case vt_double:
        return parse_number<double>(text);
    case vt_wide_text:
        return variant_t(std::wstring_view(portkit2::to_wide(text)));
    case vt_binary:
        return parse_binary(text);
    case vt_null:
        return text.empty() ? std::optional<variant_t>(variant_t()) : std::nullopt;
    default:
        return variant_t(text);
    }
}

} // namespace bk2
