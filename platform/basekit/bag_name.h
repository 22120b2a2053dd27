#pragma once

// Needed by variant_bag.h alone.

#include "basekit/api.h"

#include <cstddef>
#include <cstring>
#include <string_view>
#include <utility>

namespace bk2 {

/// An immutable name of 16 bytes. Up to 15 bytes of text stand in the object itself, as nearly all names of
/// entries do; a longer one is a text of its own.
class PANEDECK_API bag_name_t {
public:
    bag_name_t() noexcept = default;
    explicit bag_name_t(std::string_view text) {
        if (text.size() > max_inline)
            hold_outside(text);
        else
            hold_inline(text);
    }
    bag_name_t(const bag_name_t& other) : bag_name_t(other.view()) {}
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
        if (is_outside()) return outside_view();
        return {m_bytes, static_cast<std::size_t>(m_bytes[max_inline])};
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

    bool is_outside() const noexcept { return m_bytes[max_inline] == outside_mark; }
    void hold_inline(std::string_view text) noexcept {
        if (!text.empty()) std::memcpy(m_bytes, text.data(), text.size());
        m_bytes[max_inline] = static_cast<char>(text.size());
    }
    void hold_outside(std::string_view text);
    std::string_view outside_view() const noexcept;
    void free_outside() noexcept;

    // The text and its length in the last byte, or a pointer to the text outside and the mark.
    alignas(void*) char m_bytes[max_inline + 1] = {};
};

static_assert(sizeof(bag_name_t) == 16);

} // namespace bk2
