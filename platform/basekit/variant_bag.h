#pragma once

#include "basekit/api.h"
#include "basekit/bag_name.h"
#include "basekit/variant.h"

#include <concepts>
#include <cstddef>
#include <memory>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace bk2 {

class name_index_t;
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
/// `swap` is O(1). References and pointers to children stay valid while other children are appended; pointers
/// to values stay valid until the next value is put or removed. Nothing here recurses by the depth of the
/// tree.
///
/// A bag belongs to one thread at a time; several may read one that nobody changes.
class PANEDECK_API variant_bag_t {
public:
    template <class T>
    class iterator_base_t;
    /// T is `variant_t`, `variant_bag_t` or the const form of one of them.
    template <class T>
    using iterator = iterator_base_t<T>;

    variant_bag_t() noexcept;
    /// Copies the content; the copy has no name and no parent.
    variant_bag_t(const variant_bag_t& other);
    variant_bag_t(variant_bag_t&& other) noexcept;
    ~variant_bag_t();
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
        return {m_body.get(), 0, false};
    }
    template <bag_entry T>
    iterator<const T> begin() const {
        return {m_body.get(), 0, false};
    }
    /// Runs over the entries of one name, in bag order.
    template <bag_entry T>
    iterator<T> begin_by_name(std::string_view name) {
        return {m_body.get(), first_position<T>(name), true};
    }
    template <bag_entry T>
    iterator<const T> begin_by_name(std::string_view name) const {
        return {m_body.get(), first_position<T>(name), true};
    }

private:
    // The content. Children point to the body that holds them and the body to its bag, so that exchanging two
    // bags' contents is exchanging two pointers each way.
    struct body_t;
    static constexpr std::size_t no_position = static_cast<std::size_t>(-1);

    body_t& body();
    variant_bag_t& append_child(std::string_view name, std::unique_ptr<variant_bag_t> child);
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
    std::size_t first_position(std::string_view name) const noexcept {
        if constexpr (std::same_as<T, variant_t>)
            return value_position(name);
        else
            return child_position(name);
    }
    std::size_t value_position(std::string_view name) const noexcept;
    std::size_t child_position(std::string_view name) const noexcept;
    static std::unique_ptr<body_t> copy_tree(const body_t& source);
    static void free_tree(std::unique_ptr<body_t> root) noexcept;

    std::unique_ptr<body_t> m_body; // null until something is put
    body_t* m_parent = nullptr;     // the body that holds this bag
    bag_name_t m_name;
};

struct PANEDECK_API variant_bag_t::body_t {
    struct value_entry_t {
        bag_name_t name;
        variant_t value;
    };

    explicit body_t(variant_bag_t* bag) noexcept;
    ~body_t();
    body_t(const body_t&) = delete;
    body_t& operator=(const body_t&) = delete;

    std::size_t find_value(std::string_view name) const noexcept;
    std::size_t find_child(std::string_view name) const noexcept;
    /// The next child with the name of the one at `position`.
    std::size_t next_namesake(std::size_t position) const noexcept;
    void index_last_value();
    void index_last_child();
    void rebuild_value_index();
    void rebuild_child_index();

    variant_bag_t* owner;
    std::vector<value_entry_t> values;
    std::vector<std::unique_ptr<variant_bag_t>> children;
    // Only while there are many entries of that sort.
    std::unique_ptr<name_index_t> value_index;
    std::unique_ptr<name_index_t> child_index;
};

inline std::size_t variant_bag_t::size_of_values() const noexcept {
    return m_body ? m_body->values.size() : 0;
}

inline std::size_t variant_bag_t::size_of_children() const noexcept {
    return m_body ? m_body->children.size() : 0;
}

inline bool variant_bag_t::is_empty() const noexcept {
    return size_of_values() == 0 && size_of_children() == 0;
}

inline std::string_view variant_bag_t::get_name() const noexcept {
    return m_name.view();
}

/// A place among the entries of one sort of a bag. T: `variant_t`, `variant_bag_t`, or the const form of one
/// of them.
template <class T>
class variant_bag_t::iterator_base_t {
    static constexpr bool runs_over_values = std::is_same_v<std::remove_const_t<T>, variant_t>;

public:
    bool at_end() const noexcept {
        if (!m_body) return true;
        if constexpr (runs_over_values)
            return m_position >= m_body->values.size();
        else
            return m_position >= m_body->children.size();
    }

    /// Only while `at_end()` is false, as the two below.
    void next() noexcept {
        if (!m_only_namesakes)
            ++m_position;
        else if constexpr (runs_over_values)
            m_position = no_position; // values have unique names
        else
            m_position = m_body->next_namesake(m_position);
    }

    std::string_view get_name() const noexcept {
        if constexpr (runs_over_values)
            return m_body->values[m_position].name.view();
        else
            return m_body->children[m_position]->get_name();
    }

    T& get_value() const noexcept {
        if constexpr (runs_over_values)
            return m_body->values[m_position].value;
        else
            return *m_body->children[m_position];
    }

private:
    friend class variant_bag_t;
    iterator_base_t(body_t* body, std::size_t position, bool only_namesakes) noexcept
        : m_body(body), m_position(position), m_only_namesakes(only_namesakes) {}

    body_t* m_body;
    std::size_t m_position;
    bool m_only_namesakes;
};

} // namespace bk2
