#pragma once

#include "basekit/api.h"
#include "basekit/variant.h"

#include <boost/unordered/unordered_flat_set.hpp>

#include <cstddef>

namespace panedeck {

/// The same for all variants that are equal: a number of any kind by its value, a text by its characters.
struct PANEDECK_API RowKeyHash {
    std::size_t operator()(const bk2::variant_t& key) const;
};

/// Keys of rows, by which they are known across trees.
using RowKeys = boost::unordered_flat_set<bk2::variant_t, RowKeyHash>;

} // namespace panedeck
