#pragma once

// Needed by the columns of a grid: numbers over whole columns.

#include "basekit/api.h"
#include "basekit/sptr.h"
#include "basekit/variant.h"
#include "dataface/table_tree.h"

#include <memory>

namespace dataface1 {

/// Numbers over the columns of one tree, each worked out on its first use and then at hand. Safe from several
/// threads.
class PANEDECK_API ITableTreeHelper {
public:
    virtual ~ITableTreeHelper();

    /// As the tree's `IColumnStatistics` has them, which look at rows of all levels; of a tree without them
    /// only the top rows are read. Null if the column holds no numbers or there is no row.
    virtual bk2::variant_t getMaxValue(const IColumnInfo& column) = 0;
    virtual bk2::variant_t getMinValue(const IColumnInfo& column) = 0;
    virtual bk2::variant_t getSum(const IColumnInfo& column) = 0;
    /// The greatest value over all columns of that query.
    virtual bk2::variant_t getMaxValuePerQuery(const IQuery& query) = 0;
    /// The column of that query with exactly these flags, null if there is none. Looks at child columns too.
    virtual bk2::sptr_t<IColumnInfo> findColumn(const IQuery& query, std::uint32_t flags) = 0;
};

/// Null if `tree` is null.
PANEDECK_API std::shared_ptr<ITableTreeHelper> createTableTreeHelper(const bk2::sptr_t<ITableTree>& tree);

} // namespace dataface1
