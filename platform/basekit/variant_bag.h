#pragma once

#include "basekit/api.h"
#include "basekit/bag_name.h"
#include "basekit/bag_values.h"
#include "basekit/variant.h"

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <type_traits>
#include <utility>

namespace bk2 {

class variant_bag_t;

/// What a bag holds under names.
template <class T>
concept bag_entry = std::same_as<T, variant_t> || std::same_as<T, variant_bag_t>;

/// A tree of named values and named child bags: what every request, answer and event is.
///
/// A bag holds two ordered sequences: values under names, and child bags under names. Names are UTF-8, "" is
/// a legal name. A value's name is unique (`put` replaces in place); child names may repeat
/// (`add_variant_bag` appends). The value under "" is the bag's own value.
///
/// Costs: appending is O(1); looking a name up is a scan in a small bag and a hash lookup in a large one;
/// `swap` is O(1). References and pointers to children stay valid while other children are appended or
/// removed; pointers to values stay valid until the next value is put or removed. Nothing here recurses by
/// the depth of the tree.
///
/// A bag takes 32 bytes, a value with its name 32 more, and the memory of each a few bytes around it: an
/// answer of a million cells has a million bags. When a large tree is freed, its memory goes back to the
/// system.
///
/// A bag belongs to one thread at a time; several may read one that nobody changes.
class PANEDECK_API variant_bag_t {
public:
    template <class T>
    class iterator_base_t;
    /// T is `variant_t`, `variant_bag_t` or the const form of one of them.
    template <class T>
    using iterator = iterator_base_t<T>;

    variant_bag_t() noexcept = default;
    /// Copies the content; the copy has no name and no parent.
    variant_bag_t(const variant_bag_t& other);
    variant_bag_t(variant_bag_t&& other) noexcept;
    ~variant_bag_t() {
        if (m_content) clear();
    }
    /// Both replace the content only: this bag keeps its own name and parent.
    variant_bag_t& operator=(const variant_bag_t& other);
    variant_bag_t& operator=(variant_bag_t&& other) noexcept;

    /// Exchanges contents in constant time; name and parent stay with each bag, and the children's
    /// `get_parent()` follows their new bag.
    void swap(variant_bag_t& other) noexcept;
    void clear();
    /// True if there is neither a value nor a child.
    bool is_empty() const noexcept;
    /// The name under which the parent holds this bag, "" for a root.
    std::string_view get_name() const noexcept;
    /// The bag that holds this one, or null.
    variant_bag_t* get_parent() noexcept;
    const variant_bag_t* get_parent() const noexcept;

    /// Whether there is an entry of that name. T: `variant_t` or `variant_bag_t`, in all of the following.
    template <bag_entry T>
    bool has(std::string_view name) const {
        return get<T>(name) != nullptr;
    }

    /// How many entries have that name. A null name counts all: for children their number, for values their
    /// number plus one, so that a bag whose only content is one value counts 2.
    template <bag_entry T>
    std::size_t count(const char* name) const {
        if constexpr (std::same_as<T, variant_t>)
            return name ? count_values(name) : 1 + size_of_values();
        else
            return name ? count_children(name) : size_of_children();
    }

    /// The first entry of that name, or null.
    template <bag_entry T>
    const T* get(std::string_view name) const {
        return const_cast<variant_bag_t*>(this)->get<T>(name);
    }
    template <bag_entry T>
    T* get(std::string_view name) {
        if constexpr (std::same_as<T, variant_t>)
            return find_value(name);
        else
            return find_child(name);
    }

    /// The value of that name, or `otherwise`.
    variant_t get_variant(std::string_view name, const variant_t& otherwise = variant_t()) const;

    /// The own value of the first child of that name, or null if there is no such child or it has none: the
    /// form in which requests carry most of their scalars.
    const variant_t* get_own_value(std::string_view child_name) const;

    /// Replaces the first entry of that name in place, else appends. A bag is copied from an lvalue, taken
    /// from an rvalue. Returns the stored entry.
    template <bag_entry T>
    T& put(std::string_view name, const T& entry) {
        return put(name, T(entry));
    }
    template <bag_entry T>
    T& put(std::string_view name, T&& entry) {
        if constexpr (std::same_as<T, variant_t>)
            return put_value(name, std::move(entry));
        else
            return put_child(name, std::move(entry));
    }

    /// Appends a value under a name that the bag does not have yet: for writers that know what they write,
    /// since nothing is looked up.
    void append_value(static_name_t name, variant_t&& value);
    /// Makes room for that many values, so that appending them does not move them about.
    void reserve_values(std::size_t count);
    /// Makes room for just that many children, if there is none yet.
    void reserve_children(std::size_t count);

    /// Adds a child of that name with `value` as its own value: `{"name": value}` in JSON.
    void put_own_value(std::string_view child_name, variant_t value);

    /// Appends a further child, even if one of that name exists, and gives the stored child to go on
    /// building. The bag's content is copied from an lvalue, taken from an rvalue.
    variant_bag_t& add_variant_bag(std::string_view name);
    variant_bag_t& add_variant_bag(std::string_view name, const variant_bag_t& bag);
    variant_bag_t& add_variant_bag(std::string_view name, variant_bag_t&& bag);

    /// Removes the entry that the pointer names; false if this bag does not hold it. O(entries).
    template <bag_entry T>
    bool remove(const T* entry) {
        if constexpr (std::same_as<T, variant_t>)
            return remove_value(entry);
        else
            return remove_child(entry);
    }
    /// Removes all entries of that name; gives their number. O(entries).
    template <bag_entry T>
    std::size_t remove(std::string_view name) {
        if constexpr (std::same_as<T, variant_t>)
            return remove_values(name);
        else
            return remove_children(name);
    }

    /// Runs over the entries in bag order. Entries may be appended meanwhile and will be met; once one is
    /// removed, or the content is exchanged, the iterator is not to be used any more.
    template <bag_entry T>
    iterator<T> begin() {
        return {this, first_position<T>(), false};
    }
    template <bag_entry T>
    iterator<const T> begin() const {
        return {this, first_position<T>(), false};
    }
    /// Runs over the entries of one name, in bag order.
    template <bag_entry T>
    iterator<T> begin_by_name(std::string_view name) {
        return {this, position_of<T>(name), true};
    }
    template <bag_entry T>
    iterator<const T> begin_by_name(std::string_view name) const {
        return {this, position_of<T>(name), true};
    }

private:
    // The children, at places that do not move: a child points to this object, and this object to its bag, so
    // that exchanging two bags' contents is exchanging two pointers each way.
    class children_t;
    static constexpr std::size_t no_position = bag_values_t::no_position;

    children_t* children() const noexcept {
        return has_children_object() ? reinterpret_cast<children_t*>(m_content & ~children_mark) : nullptr;
    }
    bag_values_t* values() const noexcept;
    void set_values(bag_values_t* values) noexcept;
    bool has_children_object() const noexcept { return m_content & children_mark; }
    children_t& make_children(std::size_t capacity);
    variant_bag_t& append_child(bag_name_t&& name, variant_bag_t&& content);
    variant_t* find_value(std::string_view name) noexcept;
    variant_bag_t* find_child(std::string_view name) noexcept;
    variant_t& put_value(std::string_view name, variant_t&& value);
    variant_bag_t& put_child(std::string_view name, variant_bag_t&& bag);
    std::size_t count_values(std::string_view name) const noexcept;
    std::size_t count_children(std::string_view name) const noexcept;
    std::size_t size_of_values() const noexcept;
    std::size_t size_of_children() const noexcept;
    bool remove_value(const variant_t* value);
    bool remove_child(const variant_bag_t* child);
    std::size_t remove_values(std::string_view name);
    std::size_t remove_children(std::string_view name);
    template <bag_entry T>
    std::size_t first_position() const noexcept;
    template <bag_entry T>
    std::size_t position_of(std::string_view name) const noexcept {
        if constexpr (std::same_as<T, variant_t>)
            return value_position(name);
        else
            return child_position(name);
    }
    std::size_t value_position(std::string_view name) const noexcept;
    std::size_t child_position(std::string_view name) const noexcept;
    static void copy_content(const variant_bag_t& source, variant_bag_t& copy);
    static void copy_tree(const variant_bag_t& source, variant_bag_t& copy);
    static void free_tree(children_t* root) noexcept;

    // The address of the values, or with the mark of an object for the children, which then holds that of the
    // values; 0 until something is put.
    static constexpr std::uintptr_t children_mark = 1;
    std::uintptr_t m_content = 0;
    children_t* m_parent = nullptr; // what holds this bag
    bag_name_t m_name;
};

} // namespace bk2

#include "basekit/bag_children.h" // IWYU pragma: export
