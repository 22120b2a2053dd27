#pragma once

#include <cstdint>
#include <vector>

namespace panedeck::engine {

/// Finds the index of a record that is kept elsewhere by the record's hash: open addressing with linear
/// probing, 8 bytes per slot. Slots lie in the order of the hashes, so that growing walks both tables from
/// front to back instead of touching memory at random.
class HashIndex {
public:
    static constexpr std::uint32_t none = 0xFFFFFFFF;

    /// The index whose record `equals` accepts, or `none`.
    template <class Equals>
    std::uint32_t find(std::uint64_t hash, Equals equals) const {
        const std::uint32_t tag = tagOf(hash);
        for (std::size_t at = home(tag);; at = next(at)) {
            const Slot& slot = m_slots[at];
            if (slot.index == none) return none;
            if (slot.tag == tag && equals(slot.index)) return slot.index;
        }
    }

    /// Adds an index that `find` did not find.
    void insert(std::uint64_t hash, std::uint32_t index) {
        if (++m_count * 8 > m_slots.size() * 5) grow();
        place({tagOf(hash), index});
    }

private:
    struct Slot {
        std::uint32_t tag = 0;
        std::uint32_t index = none;
    };

    static std::uint32_t tagOf(std::uint64_t hash) { return static_cast<std::uint32_t>(hash >> 32); }
    std::size_t home(std::uint32_t tag) const { return tag >> (32 - m_bits); }
    std::size_t next(std::size_t at) const { return (at + 1) & (m_slots.size() - 1); }

    void place(Slot slot) {
        std::size_t at = home(slot.tag);
        while (m_slots[at].index != none)
            at = next(at);
        m_slots[at] = slot;
    }

    void grow() {
        ++m_bits;
        std::vector<Slot> old(std::size_t{1} << m_bits);
        old.swap(m_slots);
        for (const Slot& slot : old)
            if (slot.index != none) place(slot);
    }

    unsigned m_bits = 6;
    std::size_t m_count = 0;
    std::vector<Slot> m_slots = std::vector<Slot>(std::size_t{1} << m_bits);
};

} // namespace panedeck::engine
