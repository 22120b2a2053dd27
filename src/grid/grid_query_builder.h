#pragma once

#include "basekit/error_code.h"
#include "basekit/sptr.h"
#include "basekit/variant_bag.h"
#include "dataface/input_data.h"
#include "slicerkit/table_tree_query.h"

#include <string>
#include <string_view>

namespace panedeck {

/// Reads the children `grouping`, `columns` and `sorting` of a request, in any order, into a query. For one
/// request.
class GridQueryBuilder {
public:
    GridQueryBuilder(const bk2::sptr_t<slicerkit1::ITableTreeQuery>& query,
                     const bk2::sptr_t<dataface1::IQueryLibrary>& queryLibrary)
        : m_query(query), m_queryLibrary(queryLibrary) {}

    /// Fails with `IsNot.Valid.Argument` for a key that is empty or stands twice and where no column is
    /// named, with `FailedTo.Create.The.Query` and the name for a query that is not known.
    bk2::error_code_t build(const bk2::variant_bag_t& bag);

private:
    bk2::error_code_t readSection(std::string_view key, const bk2::variant_bag_t& section);
    bk2::error_code_t readGrouping(const bk2::variant_bag_t& section);
    bk2::error_code_t readColumns(const bk2::variant_bag_t& section);
    bk2::error_code_t addColumn(const std::string& name, bool expand);
    bk2::error_code_t readSorting(const bk2::variant_bag_t& section);
    bk2::error_code_t settleGrouping();

    bk2::sptr_t<slicerkit1::ITableTreeQuery> m_query;
    bk2::sptr_t<dataface1::IQueryLibrary> m_queryLibrary;
    bk2::sptr_t<dataface1::IQuery> m_grouping;
    bool m_hasColumns = false;
    bool m_hasSorting = false;
};

} // namespace panedeck
