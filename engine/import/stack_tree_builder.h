#pragma once

#include "import/hashing.h"
#include "store/profile_data.h"

#include <vector>

namespace panedeck::engine {

/// The stack tree while it grows: finds or adds the child of a node for a function. Keys stand in the slots
/// of the table, so that a lookup touches one place in memory. Chains are bounded as those of `HashIndex`
/// are.
class StackTreeBuilder {
public:
    StackTreeBuilder() : m_parents{0}, m_functions{0}, m_slots(std::size_t{1} << m_bits) {}

    CallsiteIndex child(CallsiteIndex parent, FunctionIndex function) {
        const std::size_t begin = home(parent, function);
        std::size_t at = begin;
        while (m_slots[at].node != 0) {
            const Slot& slot = m_slots[at];
            if (slot.parent == parent && slot.function == function) return slot.node;
            at = next(at);
        }
        return add(begin, at, parent, function);
    }

    std::size_t size() const { return m_parents.size(); }

    std::vector<CallsiteIndex> takeParents() { return std::move(m_parents); }
    std::vector<FunctionIndex> takeFunctions() { return std::move(m_functions); }

private:
    struct Slot {
        CallsiteIndex parent = 0;
        FunctionIndex function = 0;
        CallsiteIndex node = 0; ///< 0 is free: the empty stack is nobody's child
    };

    // Longer than chance makes it.
    static constexpr std::size_t longest_chain = 256;

    std::size_t home(CallsiteIndex parent, FunctionIndex function) const {
        return hashWords(parent, function, m_strength) >> (64 - m_bits);
    }
    std::size_t next(std::size_t at) const { return (at + 1) & (m_slots.size() - 1); }

    CallsiteIndex add(std::size_t begin, std::size_t at, CallsiteIndex parent, FunctionIndex function) {
        const auto node = static_cast<CallsiteIndex>(m_parents.size());
        m_parents.push_back(parent);
        m_functions.push_back(function);
        m_slots[at] = {parent, function, node};
        const bool is_crowded = ((at - begin) & (m_slots.size() - 1)) > longest_chain;
        if (is_crowded && m_strength == HashStrength::fast) {
            m_strength = HashStrength::keyed;
            rebuild();
        }
        if (m_parents.size() * 8 > m_slots.size() * 5) {
            ++m_bits;
            rebuild();
        }
        return node;
    }

    // Slots lie in the order of the hashes: with the same hash both tables are walked from front to back.
    void rebuild() {
        std::vector<Slot> old(std::size_t{1} << m_bits);
        old.swap(m_slots);
        for (const Slot& slot : old) {
            if (slot.node == 0) continue;
            std::size_t at = home(slot.parent, slot.function);
            while (m_slots[at].node != 0)
                at = next(at);
            m_slots[at] = slot;
        }
    }

    unsigned m_bits = 10;
    HashStrength m_strength = HashStrength::fast;
    std::vector<CallsiteIndex> m_parents;
    std::vector<FunctionIndex> m_functions;
    std::vector<Slot> m_slots;
};

} // namespace panedeck::engine
