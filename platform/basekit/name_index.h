#pragma once

// Needed by the bodies of large bags.

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <string_view>
#include <vector>

namespace bk2 {

/// Finds entries of a sequence by name: a hash table over positions, and for each position the next one of
/// the same name. The names stay in the sequence, which the callers hand in as `names`, a function from
/// position to name.
///
/// The hash is seeded anew in each process, so that no input can be made of names that collide.
class name_index_t {
public:
    using position_t = std::uint32_t;
    static constexpr position_t none = std::numeric_limits<position_t>::max();
    /// Up to so many entries a scan is as quick as a look-up here, and most bags never hold more.
    static constexpr std::size_t largest_scanned = 16;

    /// Takes the last of `size` entries into an index, which is made with the first that is not scanned.
    template <class Names>
    static void index_last(std::unique_ptr<name_index_t>& index, std::size_t size, const Names& names) {
        if (index) return index->append(names);
        if (size <= largest_scanned) return;
        index = std::make_unique<name_index_t>();
        for (std::size_t i = 0; i < size; ++i)
            index->append(names);
    }

    /// Makes the index of `size` entries anew.
    template <class Names>
    static void rebuild(std::unique_ptr<name_index_t>& index, std::size_t size, const Names& names) {
        index.reset();
        index_last(index, size, names);
    }

    static std::size_t to_position(position_t position) {
        return position == none ? std::numeric_limits<std::size_t>::max() : position;
    }

    /// The first position of that name, or `none`.
    template <class Names>
    position_t find(std::string_view name, const Names& names) const {
        return m_slots.empty() ? none : m_slots[slot_of(name, names)].first;
    }

    /// The next position with the name of `position`, or `none`.
    position_t next(position_t position) const { return m_next[position]; }

    /// Takes the entry behind the last one into the index.
    template <class Names>
    void append(const Names& names) {
        if ((m_distinct + 1) * 2 > m_slots.size()) grow(names);
        const auto position = static_cast<position_t>(m_next.size());
        m_next.push_back(none);
        slot_t& slot = m_slots[slot_of(names(position), names)];
        if (slot.first == none) {
            slot.first = position;
            ++m_distinct;
        } else {
            m_next[slot.last] = position;
        }
        slot.last = position;
    }

    /// Leaves the place behind the last one out: nothing is found there.
    void skip() { m_next.push_back(none); }

private:
    struct slot_t {
        position_t first = none;
        position_t last = none;
    };

    static std::uint64_t hash(std::string_view name);

    // The slot of that name, or the empty one where it belongs. At least half of the slots are empty.
    template <class Names>
    std::size_t slot_of(std::string_view name, const Names& names) const {
        const std::size_t mask = m_slots.size() - 1;
        std::size_t slot = hash(name) & mask;
        while (m_slots[slot].first != none && names(m_slots[slot].first) != name)
            slot = (slot + 1) & mask;
        return slot;
    }

    template <class Names>
    void grow(const Names& names) {
        std::vector<slot_t> old(m_slots.empty() ? 64 : m_slots.size() * 2);
        old.swap(m_slots);
        for (const slot_t& slot : old)
            if (slot.first != none) m_slots[slot_of(names(slot.first), names)] = slot;
    }

    std::vector<slot_t> m_slots;
    std::vector<position_t> m_next;
    std::size_t m_distinct = 0;
};

} // namespace bk2
