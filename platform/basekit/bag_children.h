#pragma once

// The second half of variant_bag.h, which includes it: how a bag holds its children, and the iterators.

#include "basekit/variant_bag.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <type_traits>
#include <vector>

namespace bk2 {

class name_index_t;

/// The children of a bag, side by side in one piece of memory with this object as long as there is room, and
/// then in further pieces, each twice as long as the one before. The place of one that was removed stays
/// empty.
class PANEDECK_API variant_bag_t::children_t {
public:
    static children_t* make(variant_bag_t* owner, bag_values_t* values, std::size_t capacity);
    /// Destroys all that it holds but the values. Whoever has deep trees empties it first.
    static void destroy(children_t* children) noexcept;
    children_t(const children_t&) = delete;
    children_t& operator=(const children_t&) = delete;

    variant_bag_t* owner;
    bag_values_t* values; ///< of the owner

    std::size_t count() const noexcept { return end_position() - (m_more ? m_more->empty_places : 0); }
    /// Behind the last place. That one is never empty.
    std::size_t end_position() const noexcept { return m_used; }
    variant_bag_t& at(std::size_t position) noexcept {
        return position < m_first_capacity ? first_places()[position] : at_further(position);
    }
    variant_bag_t& back() noexcept { return at(m_used - 1u); }
    /// The first position from `position` on that is not empty.
    std::size_t occupied_from(std::size_t position) noexcept {
        if (m_more && m_more->empty_places > 0)
            while (position < m_used && is_empty_place(at(position)))
                ++position;
        return position;
    }

    std::size_t find(std::string_view name) noexcept;
    /// The next position with the name of the one at `position`.
    std::size_t next_namesake(std::size_t position) noexcept;
    variant_bag_t& append(bag_name_t&& name);
    void pop_back() noexcept;
    /// False if the bag is none of these.
    bool remove(const variant_bag_t* child);
    std::size_t remove(std::string_view name);

private:
    struct more_t {
        std::vector<variant_bag_t*> pieces;  ///< of `first_piece` places, twice as many, …
        std::unique_ptr<name_index_t> index; ///< only while there are many
        std::size_t empty_places = 0;
        more_t();
        ~more_t();
    };
    static constexpr std::size_t first_piece = 4;

    children_t(variant_bag_t* bag, bag_values_t* bag_values, std::size_t capacity) noexcept;
    ~children_t();
    static bool is_empty_place(const variant_bag_t& place) noexcept { return !place.m_parent; }
    static std::size_t piece_size(std::size_t piece) noexcept { return first_piece << piece; }
    variant_bag_t* first_places() noexcept { return reinterpret_cast<variant_bag_t*>(this + 1); }
    variant_bag_t& at_further(std::size_t position) noexcept {
        const std::size_t rank = (position - m_first_capacity) / first_piece + 1;
        const auto piece = static_cast<std::size_t>(std::bit_width(rank)) - 1;
        return m_more->pieces[piece][position - m_first_capacity - piece_size(piece) + first_piece];
    }
    template <class IsWanted>
    std::size_t scan(const IsWanted& is_wanted) noexcept;
    more_t& more();
    void* room_for_one();
    void empty_place(variant_bag_t& place) noexcept;
    void drop_empty_end() noexcept;
    void index_last();
    void rebuild_index();

    std::unique_ptr<more_t> m_more; // null while the first places are enough
    std::uint32_t m_used = 0;       // places, empty ones included
    std::uint32_t m_first_capacity;
};

inline bag_values_t* variant_bag_t::values() const noexcept {
    return has_children_object() ? children()->values : reinterpret_cast<bag_values_t*>(m_content);
}

inline std::size_t variant_bag_t::size_of_values() const noexcept {
    const bag_values_t* const held = values();
    return held ? held->size() : 0;
}

inline std::size_t variant_bag_t::size_of_children() const noexcept {
    return has_children_object() ? children()->count() : 0;
}

inline bool variant_bag_t::is_empty() const noexcept {
    return size_of_values() == 0 && size_of_children() == 0;
}

inline std::string_view variant_bag_t::get_name() const noexcept {
    return m_name.view();
}

template <bag_entry T>
std::size_t variant_bag_t::first_position() const noexcept {
    if constexpr (std::same_as<T, variant_bag_t>)
        if (has_children_object()) return children()->occupied_from(0);
    return 0;
}

/// A place among the entries of one sort of a bag. T: `variant_t`, `variant_bag_t`, or the const form of one
/// of them.
template <class T>
class variant_bag_t::iterator_base_t {
    static constexpr bool runs_over_values = std::is_same_v<std::remove_const_t<T>, variant_t>;

public:
    bool at_end() const noexcept {
        if constexpr (runs_over_values)
            return m_position >= m_bag->size_of_values();
        else
            return !m_bag->has_children_object() || m_position >= m_bag->children()->end_position();
    }

    /// Only while `at_end()` is false, as the two below.
    void next() noexcept {
        if constexpr (runs_over_values)
            m_position = m_only_namesakes ? no_position : m_position + 1; // values have unique names
        else
            m_position = m_only_namesakes ? m_bag->children()->next_namesake(m_position)
                                          : m_bag->children()->occupied_from(m_position + 1);
    }

    std::string_view get_name() const noexcept {
        if constexpr (runs_over_values)
            return (*m_bag->values())[m_position].name.view();
        else
            return get_value().get_name();
    }

    T& get_value() const noexcept {
        if constexpr (runs_over_values)
            return (*m_bag->values())[m_position].value;
        else
            return m_bag->children()->at(m_position);
    }

private:
    friend class variant_bag_t;
    iterator_base_t(const variant_bag_t* bag, std::size_t position, bool only_namesakes) noexcept
        : m_bag(bag), m_position(position), m_only_namesakes(only_namesakes) {}

    const variant_bag_t* m_bag;
    std::size_t m_position;
    bool m_only_namesakes;
};

} // namespace bk2
