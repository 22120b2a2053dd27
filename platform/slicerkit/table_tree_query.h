#pragma once

// Needed by the grid handlers: runs a query.

#include "basekit/api.h"
#include "basekit/error_code.h"
#include "basekit/object_interface.h"
#include "basekit/sptr.h"
#include "basekit/variant.h"
#include "dataface/input_data.h"
#include "dataface/query.h"
#include "dataface/table_tree.h"

#include <string>

namespace slicerkit1 {

/// Kinds of tree, and flags that are joined to one of them by OR.
enum query_type_t : int {
    query_auto = 0,
    query_bottom_up = 1,
    query_top_down = 2,
    query_flat_profile = 4,
    query_selection_parent_tree = 8,
    query_selection_child_tree = 16,
    query_no_leaf_expansion = 4096, ///< a recursive last level stays closed
    query_all_rows = 8192,          ///< also rows of the dimension table without samples
    query_tabular_bottom_up = 16384,
};

/// A query being put together: inputs, columns, grouping, sort, filter; then `getTableTree` runs it. The
/// setters compute and freeze nothing, so their order does not matter. For one thread.
class PANEDECK_API ITableTreeQuery : public bk2::object_interface_t {
public:
    virtual bk2::error_code_t addInputData(const bk2::sptr_t<dataface1::IInputData>& input) = 0;
    /// The query depends on the filter of that name, resolved when it runs.
    virtual bk2::error_code_t setFilterName(const std::string& name) = 0;
    virtual bk2::error_code_t prepare() = 0;
    /// Runs the query. Where nothing is left to show the tree has columns and no rows; a provider that has
    /// not even columns then gives `error_code_t::empty_result()` and a null tree. Long work polls `progress`
    /// and gives back the cancelled error. The tree keeps the resolved filter, never its name.
    virtual bk2::error_code_t getTableTree(bk2::sptr_t<dataface1::ITableTree>& tree,
                                           notifykit2::IProgress* progress, int type_and_flags) = 0;
    virtual bk2::error_code_t setFocusObject(const bk2::sptr_t<dataface1::IQuery>& query,
                                             const bk2::variant_t& object_id) = 0;
    virtual bk2::error_code_t setSortQuery(const bk2::sptr_t<dataface1::IQuery>& query) = 0;
    virtual bk2::error_code_t setGroupingQuery(const bk2::sptr_t<dataface1::IQuery>& query) = 0;
    virtual bk2::error_code_t addColumnQuery(const bk2::sptr_t<dataface1::IQuery>& query) = 0;

    /// An empty query of the data provider, or null if none is registered.
    static bk2::sptr_t<ITableTreeQuery> create();

    /// The data provider registers here how its queries are made, once, before the first request.
    using factory_t = bk2::sptr_t<ITableTreeQuery> (*)();
    static void setFactory(factory_t factory);

protected:
    ~ITableTreeQuery() override;
};

} // namespace slicerkit1
