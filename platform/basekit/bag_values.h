#pragma once

// Needed by variant_bag.h alone.

#include "basekit/api.h"
#include "basekit/bag_name.h"
#include "basekit/variant.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

namespace bk2 {

class name_index_t;

/// The values of a bag under their names, in one piece of memory: eight bytes and the entries. Most bags hold
/// one value, and an answer may hold a million such bags.
///
/// Made by `append` and `reserve`, which take a pointer that may be null and replace it when the entries need
/// more room; freed by `destroy`.
class PANEDECK_API bag_values_t {
public:
    struct entry_t {
        bag_name_t name;
        variant_t value;
    };
    static constexpr std::size_t no_position = static_cast<std::size_t>(-1);

    static entry_t& append(bag_values_t*& values, entry_t&& entry);
    /// Makes room for that many entries; nothing happens if there is more.
    static void reserve(bag_values_t*& values, std::size_t capacity);
    /// Null for null.
    static bag_values_t* copy(const bag_values_t* values);
    static void destroy(bag_values_t* values) noexcept;

    std::size_t size() const noexcept { return m_size; }
    entry_t& operator[](std::size_t position) noexcept { return entries()[position]; }

    /// A scan while the entries are few, else a hash lookup.
    std::size_t find(std::string_view name) noexcept;
    std::size_t find(const variant_t* value) noexcept;
    /// Moves the later ones up.
    void erase(std::size_t position);

private:
    explicit bag_values_t(std::uint32_t capacity) noexcept : m_capacity(capacity) {}
    ~bag_values_t() = default;

    static bag_values_t* make(std::size_t capacity);
    static void move_to(bag_values_t*& values, std::size_t capacity);
    // The entries follow the object, and those that many entries have room for are followed by the index.
    entry_t* entries() noexcept { return reinterpret_cast<entry_t*>(this + 1); }
    bool has_index_room() const noexcept;
    std::unique_ptr<name_index_t>& index() noexcept {
        return *reinterpret_cast<std::unique_ptr<name_index_t>*>(entries() + m_capacity);
    }

    std::uint32_t m_size = 0;
    std::uint32_t m_capacity;
};

} // namespace bk2
