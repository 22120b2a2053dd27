#pragma once

#include "basekit/variant.h"

#include <cstdint>
#include <vector>

namespace panedeck {

/// The order of a group of siblings by one value each.
///
/// Unknown values are the smallest, values that are no number stand directly above them. As soon as one value
/// is a text, all compare as texts, without regard to case: comparing pair by pair would give no order at all
/// for a mix of numbers and texts. Numbers compare by value across kinds. Equal values may land in any order.
///
/// Each value is read once: texts are ranked, numbers become integers of the same order, and only records of
/// 16 bytes are sorted, in parallel from 500 on. Cost: n values, distinct texts folded once, n log n
/// integers.
class SiblingOrder {
public:
    explicit SiblingOrder(std::vector<bk2::variant_t> values) : m_values(std::move(values)) {}

    /// The indexes of the values in their order.
    std::vector<std::uint32_t> sorted(bool descending);

private:
    struct Key {
        std::uint64_t order;
        std::uint32_t index;
    };

    std::vector<Key> keys() const;
    std::vector<Key> textKeys() const;
    std::vector<Key> numberKeys() const;
    std::vector<Key> wideNumberKeys() const;

    std::vector<bk2::variant_t> m_values;
};

} // namespace panedeck
