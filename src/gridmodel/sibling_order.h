#pragma once

#include "basekit/large_pages.h"
#include "basekit/variant.h"

#include <cstdint>

namespace panedeck {

/// The order of a group of siblings by one value each.
///
/// Unknown values are the smallest, values that are no number stand directly above them. As soon as one value
/// is a text, all compare as texts, without regard to case: comparing pair by pair would give no order at all
/// for a mix of numbers and texts. Numbers compare by value across kinds. Equal values may land in any order.
///
/// Each value is looked at once: numbers become integers of the same order, texts are ranked. Integers are
/// sorted in parallel from 500 on, ranks are counted. Cost: n values, distinct texts folded once, n log n
/// integers.
///
/// One object serves many groups one after the other, in the memory that it has.
class SiblingOrder {
public:
    /// Room for the values of the next group; all are to be set.
    bk2::array_t<bk2::variant_t>& values(std::size_t count);

    /// The indexes of the values in their order; good until the next group.
    const bk2::array_t<std::uint32_t>& sort(bool descending);

    /// Gives back the memory of a large group, and lets go of all values.
    void clear();

private:
    struct Key {
        std::uint64_t order;
        std::uint32_t index;
    };

    void makeNumberKeys();
    void makeWideNumberKeys();
    void makeTextKeys();
    void sortKeys(bool descending);
    void countKeys(bool descending);

    bk2::array_t<bk2::variant_t> m_values;
    bk2::array_t<Key> m_keys;
    bk2::array_t<std::uint32_t> m_sorted;
    std::uint64_t m_limit = 0; ///< above all keys if they are few, else 0
};

} // namespace panedeck
