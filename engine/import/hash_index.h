#pragma once

#include "import/hashing.h"

#include <cstdint>
#include <vector>

namespace panedeck::engine {

/// Finds the index of a record that is kept elsewhere by the record's hash: open addressing with linear
/// probing, 8 bytes per slot. Slots lie in the order of the hashes, so that growing walks both tables from
/// front to back instead of touching memory at random.
///
/// Chains are bounded, whatever the records are: a table in which one gets longer than chance makes it goes
/// over to the keyed hash.
class HashIndex {
public:
    static constexpr std::uint32_t none = 0xFFFFFFFF;

    /// Which hash the next `find` wants.
    HashStrength strength() const { return m_strength; }

    /// The index whose record `equals` accepts, or `none`.
    template <class Equals>
    std::uint32_t find(std::uint64_t hash, Equals equals) const {
        const std::uint32_t tag = tagOf(hash);
        const std::size_t begin = home(tag);
        unsigned mistaken = 0;
        for (std::size_t at = begin;; at = next(at)) {
            const Slot& slot = m_slots[at];
            if (slot.index == none) {
                m_is_crowded |= mistaken > most_mistaken || distance(begin, at) > longest_chain;
                return none;
            }
            if (slot.tag != tag) continue;
            if (equals(slot.index)) return slot.index;
            ++mistaken;
        }
    }

    /// Adds an index that `find` did not find. `hash_of(index, strength)` is the hash of the record of any
    /// index in the table, this one included.
    template <class HashOf>
    void insert(std::uint32_t index, HashOf hash_of) {
        if (m_is_crowded && m_strength == HashStrength::fast) becomeKeyed(hash_of);
        if (++m_count * 8 > m_slots.size() * 5) grow();
        place({tagOf(hash_of(index, m_strength)), index});
    }

private:
    struct Slot {
        std::uint32_t tag = 0;
        std::uint32_t index = none;
    };

    // A table of 2^28 random records has a chain of this length once in a hundred times, ...
    static constexpr std::size_t longest_chain = 256;
    // ... and so many tags of one value once in a million times.
    static constexpr unsigned most_mistaken = 8;

    static std::uint32_t tagOf(std::uint64_t hash) { return static_cast<std::uint32_t>(hash >> 32); }
    std::size_t home(std::uint32_t tag) const { return tag >> (32 - m_bits); }
    std::size_t next(std::size_t at) const { return (at + 1) & (m_slots.size() - 1); }
    std::size_t distance(std::size_t begin, std::size_t at) const {
        return (at - begin) & (m_slots.size() - 1);
    }

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

    template <class HashOf>
    void becomeKeyed(HashOf hash_of) {
        m_strength = HashStrength::keyed;
        std::vector<Slot> old(m_slots.size());
        old.swap(m_slots);
        for (const Slot& slot : old)
            if (slot.index != none) place({tagOf(hash_of(slot.index, m_strength)), slot.index});
    }

    unsigned m_bits = 6;
    std::size_t m_count = 0;
    HashStrength m_strength = HashStrength::fast;
    mutable bool m_is_crowded = false;
    std::vector<Slot> m_slots = std::vector<Slot>(std::size_t{1} << m_bits);
};

} // namespace panedeck::engine
