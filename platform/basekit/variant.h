#pragma once

#include "basekit/api.h"
#include "basekit/object_interface.h"
#include "basekit/sptr.h"
#include "portkit/ustring8.h"

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace bk2 {

using s8_t = std::int8_t;
using u8_t = std::uint8_t;
using s16_t = std::int16_t;
using u16_t = std::uint16_t;
using s32_t = std::int32_t;
using u32_t = std::uint32_t;
using s64_t = std::int64_t;
using u64_t = std::uint64_t;

/// Type tags of a variant. The numbers are seen outside (log texts, JSON rules), so they are fixed. For the
/// integer tags 2 to 9 an odd tag is unsigned.
enum das_variant_type_t : u32_t {
    vt_bool = 0,
    vt_none = 1, ///< nothing here makes it
    vt_s8 = 2,
    vt_u8 = 3,
    vt_s16 = 4,
    vt_u16 = 5,
    vt_s32 = 6,
    vt_u32 = 7,
    vt_s64 = 8,
    vt_u64 = 9,
    vt_float = 10,
    vt_double = 11,
    vt_text = 12,          ///< UTF-8 text, owned
    vt_wide_text = 13,     ///< wide text, owned
    vt_text_ref = 14,      ///< UTF-8 text, borrowed: the caller keeps the characters alive
    vt_wide_text_ref = 15, ///< wide text, borrowed
    vt_binary = 16,
    vt_null = 17,   ///< the state of a default-made variant
    vt_object = 18, ///< reference to an `object_interface_t`
};

/// A tagged value of 16 bytes: 8 of payload and a tag. Texts that it owns, binary blocks and object
/// references sit in a block with an atomic reference count, which copies share; copying anything else copies
/// 16 bytes.
///
/// One variant must not be changed while another thread reads it; copies are independent.
class PANEDECK_API variant_t {
public:
    variant_t() noexcept { m_payload.bits = 0; }
    // Exactly bool: so `true` does not become an integer, and no pointer becomes a bool.
    template <std::same_as<bool> B>
    variant_t(B value) noexcept : m_tag(vt_bool) {
        set_bits(value);
    }
    variant_t(s8_t value) noexcept : m_tag(vt_s8) { set_signed(value); }
    variant_t(u8_t value) noexcept : m_tag(vt_u8) { set_bits(value); }
    variant_t(s16_t value) noexcept : m_tag(vt_s16) { set_signed(value); }
    variant_t(u16_t value) noexcept : m_tag(vt_u16) { set_bits(value); }
    variant_t(s32_t value) noexcept : m_tag(vt_s32) { set_signed(value); }
    variant_t(u32_t value) noexcept : m_tag(vt_u32) { set_bits(value); }
    variant_t(s64_t value) noexcept : m_tag(vt_s64) { set_signed(value); }
    variant_t(u64_t value) noexcept : m_tag(vt_u64) { set_bits(value); }
    variant_t(float value) noexcept : m_tag(vt_float) {
        set_bits(0);
        m_payload.real_single = value;
    }
    variant_t(double value) noexcept : m_tag(vt_double) { m_payload.real = value; }
    /// Owned copies (tags 12 and 13).
    variant_t(std::string_view text);
    variant_t(const std::string& text) : variant_t(std::string_view(text)) {}
    variant_t(const char* text) : variant_t(std::string_view(text ? text : "")) {}
    variant_t(std::wstring_view text);
    /// An object reference (tag 18); the variant holds one reference of the object.
    variant_t(const sptr_t<object_interface_t>& object);

    variant_t(const variant_t& other) noexcept : m_payload(other.m_payload), m_tag(other.m_tag) { share(); }
    variant_t(variant_t&& other) noexcept : m_payload(other.m_payload), m_tag(other.m_tag) {
        other.m_tag = vt_null;
    }
    ~variant_t() { free_data(); }

    variant_t& operator=(const variant_t& other) noexcept {
        variant_t copy(other);
        swap(copy);
        return *this;
    }
    variant_t& operator=(variant_t&& other) noexcept {
        swap(other);
        return *this;
    }

    /// Text that is not copied (tags 14 and 15); the characters end with a zero and outlive the variant.
    static variant_t borrow(const char* text) noexcept;
    static variant_t borrow(const wchar_t* text) noexcept;
    static variant_t binary(const void* data, std::size_t size);

    void swap(variant_t& other) noexcept {
        std::swap(m_payload, other.m_payload);
        std::swap(m_tag, other.m_tag);
    }

    das_variant_type_t tag() const noexcept { return m_tag; }
    bool is_null() const noexcept { return m_tag == vt_null; }
    /// Tag 12 or 14: the mask form of the test, tag with bit 1 cleared equals 12.
    bool is_narrow_text() const noexcept { return (m_tag & ~2u) == 12; }
    bool is_wide_text() const noexcept { return m_tag == vt_wide_text || m_tag == vt_wide_text_ref; }
    /// Boolean or integer: tags 0 and 2 to 9.
    bool is_integer() const noexcept { return m_tag <= vt_u64 && m_tag != vt_none; }
    /// Boolean, integer or floating point: tags 0 and 2 to 11.
    bool is_numeric() const noexcept { return m_tag <= vt_double && m_tag != vt_none; }

    /// Whether `get<T>()` works. T: `bool` and the integers widen from narrower integer tags: `s32_t` and
    /// `u32_t` take tags up to 7, `s64_t`, `u64_t` and `bool` up to 9, `double` up to 11; signed or unsigned
    /// source by the tag's low bit. `const char*` takes narrow text only.
    template <class T>
    bool can_get() const noexcept {
        if constexpr (std::is_same_v<T, const char*>)
            return is_narrow_text();
        else if constexpr (std::is_same_v<T, double>)
            return is_numeric();
        else if constexpr (std::is_same_v<T, s32_t> || std::is_same_v<T, u32_t>)
            return is_integer() && m_tag <= vt_u32;
        else {
            static_assert(std::is_same_v<T, bool> || std::is_same_v<T, s64_t> || std::is_same_v<T, u64_t>);
            return is_integer();
        }
    }

    /// The value. Asking for a kind that `can_get` refuses is an assertion failure and gives T's zero ("" for
    /// text).
    template <class T>
    T get() const {
        if (!can_get<T>()) report_refused_read();
        if constexpr (std::is_same_v<T, const char*>)
            return narrow_characters();
        else if constexpr (std::is_same_v<T, double>)
            return real_value();
        else
            return can_get<T>() ? static_cast<T>(m_payload.bits) : T();
    }

    /// The narrow text, empty for every other kind. Valid as long as this variant holds it.
    std::string_view text() const noexcept;
    std::wstring_view wide_text() const noexcept;
    /// The bytes of a binary block, empty for every other kind.
    std::string_view bytes() const noexcept;
    /// The object of tag 18, null for every other kind.
    sptr_t<object_interface_t> object() const noexcept;

    /// Back to null; the last holder of a block frees it.
    void free_data() noexcept {
        if (is_dynamic()) drop_block();
        m_tag = vt_null;
    }

    /// Sets a value of one of the dynamic types (12, 13, 16) from `size` bytes. Another tag is an assertion
    /// failure.
    void set_data(das_variant_type_t tag, const void* data, std::size_t size);

    /// Compares the texts of two variants, narrow or wide, as code points: below 0, 0 or above 0.
    int string_compare(const variant_t& other) const;

    /// Equal values. Booleans, integers and floating point compare by value across tags (-1 is not 2^64 - 1);
    /// texts by their characters; objects by identity; null equals null only.
    bool operator==(const variant_t& other) const;

    /// An order over all variants, total but for NaN: null, then numbers by value, then texts bytewise, then
    /// the rest by tag and bytes.
    bool operator<(const variant_t& other) const;
    bool operator>(const variant_t& other) const { return other < *this; }

private:
    struct block_t;

    // Integers are kept widened to 64 bits by their own sign, so that every widening read is a plain cast.
    void set_bits(u64_t value) noexcept { m_payload.bits = value; }
    void set_signed(s64_t value) noexcept { m_payload.bits = static_cast<u64_t>(value); }
    bool is_dynamic() const noexcept {
        return m_tag == vt_text || m_tag == vt_wide_text || m_tag == vt_binary || m_tag == vt_object;
    }
    void share() const noexcept {
        if (is_dynamic()) share_block();
    }
    void share_block() const noexcept;
    void drop_block() noexcept;
    void report_refused_read() const;
    const char* narrow_characters() const noexcept;
    double real_value() const noexcept;

    union payload_t {
        u64_t bits;
        double real;
        float real_single;
        block_t* block;
        const char* borrowed;
        const wchar_t* borrowed_wide;
    };

    payload_t m_payload;
    das_variant_type_t m_tag = vt_null;
};

static_assert(sizeof(variant_t) == 16);

/// Any value as text: numbers as the shortest decimal text that reads back the same, booleans as "true" and
/// "false", texts as they are (wide ones as UTF-8), null and object references as "", binary as base64.
PANEDECK_API std::string get_value_string(const variant_t& value);

} // namespace bk2
