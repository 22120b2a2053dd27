#pragma once

// Reads the filter bags of the panes.

#include "basekit/error_code.h"
#include "basekit/sptr.h"
#include "basekit/variant_bag.h"
#include "dataface/filter_registry.h"
#include "dataface/input_data.h"
#include "filter/ifilter_mgr.h"

#include <list>

namespace panedeck {

/// What a filter bag holds besides the expressions that went to the builder.
struct filter_bag_content_t {
    std::list<filter_reference_t> references; ///< in bag order
    bool isEmpty = true;                      ///< no item was found
};

/// Sends the expressions of a filter bag to `builder` and collects its references into `content`, which on
/// failure holds those found before. With `valueMode` rows are values, else object ids. Any depth of bag will
/// do.
bk2::error_code_t parseFilterConfig(const bk2::variant_bag_t& config,
                                    const bk2::sptr_t<dataface1::IQueryLibrary>& queryLibrary,
                                    const bk2::sptr_t<dataface1::IQueryFilterBuilder>& builder,
                                    bool valueMode, filter_bag_content_t& content);

/// One expression of an info query; for a vector query an OR group of its members' expressions.
bk2::error_code_t emitQueryExpr(const bk2::sptr_t<dataface1::IQueryFilterBuilder>& builder,
                                const bk2::sptr_t<dataface1::IQuery>& query,
                                dataface1::filter_expr_opcode_t opcode, const bk2::variant_t& value);

} // namespace panedeck
