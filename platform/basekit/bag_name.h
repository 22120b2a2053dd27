#pragma once

// Needed by variant_bag.h alone.

#include "basekit/api.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <utility>

namespace bk2 {

/// A name that is written in the program: it lives as long as the program runs, so nobody needs to copy it.
class static_name_t {
public:
    template <std::size_t Size>
    consteval static_name_t(const char (&text)[Size]) : m_text(text, Size - 1) {}

    constexpr std::string_view view() const noexcept { return m_text; }

private:
    std::string_view m_text;
};

/// An immutable name of 16 bytes. Up to 15 bytes of text stand in the object itself, as nearly all names of
/// entries do; a longer one is a text of its own, or the program's own.
class PANEDECK_API bag_name_t {
public:
    bag_name_t() noexcept = default;
    explicit bag_name_t(std::string_view text) {
        if (text.size() > max_inline)
            hold_outside(text);
        else
            hold_inline(text);
    }
    explicit bag_name_t(static_name_t name) noexcept {
        if (name.view().size() > max_inline)
            refer_to(name.view());
        else
            hold_inline(name.view());
    }
    bag_name_t(const bag_name_t& other) {
        if (other.is_outside())
            hold_outside(other.outside_view());
        else
            std::memcpy(m_bytes, other.m_bytes, sizeof m_bytes);
    }
    bag_name_t(bag_name_t&& other) noexcept { swap(other); }
    ~bag_name_t() {
        if (is_outside()) free_outside();
    }

    bag_name_t& operator=(bag_name_t other) noexcept {
        swap(other);
        return *this;
    }

    void swap(bag_name_t& other) noexcept { std::swap(m_bytes, other.m_bytes); }

    /// Valid while this object stays where it is.
    std::string_view view() const noexcept {
        const auto size = static_cast<std::size_t>(m_bytes[max_inline]);
        if (size <= max_inline) return {m_bytes, size};
        return is_outside() ? outside_view() : static_view();
    }

    /// Whether texts of that length stand in the object.
    static constexpr bool is_short(std::string_view text) noexcept { return text.size() <= max_inline; }

    /// Whether this is the same name as `other`, which is a short one: two machine words, unused bytes being
    /// zero.
    bool equals_short(const bag_name_t& other) const noexcept {
        return std::memcmp(m_bytes, other.m_bytes, sizeof m_bytes) == 0;
    }

private:
    static constexpr std::size_t max_inline = 15;
    static constexpr char outside_mark = 16;
    static constexpr char static_mark = 17;

    bool is_outside() const noexcept { return m_bytes[max_inline] == outside_mark; }
    void hold_inline(std::string_view text) noexcept {
        if (!text.empty()) std::memcpy(m_bytes, text.data(), text.size());
        m_bytes[max_inline] = static_cast<char>(text.size());
    }
    void hold_outside(std::string_view text);
    std::string_view outside_view() const noexcept;
    void free_outside() noexcept;

    void refer_to(std::string_view text) noexcept {
        const char* const characters = text.data();
        const auto size = static_cast<std::uint32_t>(text.size());
        std::memcpy(m_bytes, &characters, sizeof characters);
        std::memcpy(m_bytes + sizeof characters, &size, sizeof size);
        m_bytes[max_inline] = static_mark;
    }
    std::string_view static_view() const noexcept {
        const char* characters = nullptr;
        std::uint32_t size = 0;
        std::memcpy(&characters, m_bytes, sizeof characters);
        std::memcpy(&size, m_bytes + sizeof characters, sizeof size);
        return {characters, size};
    }

    // The text and its length in the last byte, or a pointer to the text outside or in the program and the
    // mark.
    alignas(void*) char m_bytes[max_inline + 1] = {};
};

static_assert(sizeof(bag_name_t) == 16);

} // namespace bk2
