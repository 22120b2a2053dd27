#pragma once

#include "basekit/api.h"
#include "basekit/large_pages.h"
#include "basekit/variant.h"

#include <boost/unordered/unordered_flat_set.hpp>

#include <cstddef>
#include <cstdint>

namespace panedeck {

/// Keys of rows, by which they are known across trees: whole numbers or texts, mostly.
///
/// Equal variants are one key: a number of any kind by its value, a text by its characters. Numbers are noted
/// one behind the other; the first look-up makes a bit for each number of their range, or a hash table if
/// they are too far apart for that. So noting a million keys takes no random access to memory. For one thread
/// at a time, look-ups too.
class PANEDECK_API RowKeys {
public:
    void insert(bk2::variant_t key);
    void insert(const RowKeys& keys);
    /// Cost: all keys.
    void erase(const bk2::variant_t& key);
    bool contains(const bk2::variant_t& key) const;

    /// The same for keys that are one.
    static std::size_t hashOf(const bk2::variant_t& key);

private:
    struct Hash {
        std::size_t operator()(const bk2::variant_t& key) const;
    };

    void makeIndex() const;

    bk2::array_t<std::uint64_t> m_numbers; ///< as they came; some may come twice
    boost::unordered_flat_set<bk2::variant_t, Hash> m_others;

    mutable bool m_isIndexed = false;
    mutable std::uint64_t m_firstWord = 0;
    mutable bk2::array_t<std::uint64_t> m_words; ///< a bit for each number from 64 * `m_firstWord` on
    mutable boost::unordered_flat_set<std::uint64_t> m_scattered;
};

} // namespace panedeck
