#pragma once

// Needed by the filter manager: where named filters live.

#include "basekit/api.h"
#include "basekit/error_code.h"
#include "basekit/object_interface.h"
#include "basekit/sptr.h"
#include "basekit/variant.h"
#include "dataface/query.h"

#include <string>

namespace dataface1 {

/// How an expression compares.
enum filter_expr_opcode_t : int { filter_equal = 0 };

/// A compiled filter: immutable, holds queries and values and no pointers into one result, so one object
/// serves the registries of all open results.
class PANEDECK_API IQueryFilter : public bk2::object_interface_t {
protected:
    ~IQueryFilter() override;
};

/// Builds a compiled filter from groups and expressions. What stands at the root is joined by AND; a group
/// without any expression is no condition. For one thread.
class PANEDECK_API IQueryFilterBuilder : public bk2::object_interface_t {
public:
    enum group_op_t : int { group_and = 0, group_or = 1 };

    virtual bk2::error_code_t beginGroup(int op) = 0;
    virtual bk2::error_code_t endGroup() = 0;
    /// True: the values of later expressions are values (contents 0 of a cell). False, the initial state:
    /// they are object ids (contents 7).
    virtual void setValueMode(bool values) = 0;
    virtual bk2::error_code_t addExpression(const bk2::sptr_t<IInfoQuery>& query, filter_expr_opcode_t opcode,
                                            const bk2::variant_t& value) = 0;
    /// The filter, or null if a group is still open.
    virtual bk2::sptr_t<IQueryFilter> compile() = 0;

protected:
    ~IQueryFilterBuilder() override;
};

/// The named filters of one result. Each operation is atomic and safe from any thread. A name without a
/// filter object (unknown, cleared) is no condition and no failure, in a query, as a source and when
/// inverted.
class PANEDECK_API IFilterRegistry : public bk2::object_interface_t {
public:
    virtual bk2::sptr_t<IQueryFilterBuilder> createQueryFilterBuilder() = 0;
    /// Removes the object under the name; an unknown name succeeds.
    virtual bk2::error_code_t clearQueryFilter(const std::string& name) = 0;
    /// Joins the source's object of this moment, inverted if asked, by AND into the target's.
    virtual bk2::error_code_t copyQueryFilter(const std::string& source, const std::string& target,
                                              bool invert) = 0;
    virtual bk2::error_code_t setQueryFilter(const std::string& name,
                                             const bk2::sptr_t<IQueryFilter>& filter) = 0;
    /// Removes what `mergeFilters` recorded for the name.
    virtual bk2::error_code_t clearFilterMerges(const std::string& name) = 0;
    /// Records `source` as merged into `target`: bookkeeping, never evaluated.
    virtual bk2::error_code_t mergeFilters(const std::string& source, const std::string& target,
                                           bool invert) = 0;
    /// True if the name holds a filter object.
    virtual bool hasFilter(const std::string& name) const = 0;
    /// True if nothing may be merged into the target any more; false for every name here.
    virtual bool isMergeClosed(const std::string& target) const = 0;

protected:
    ~IFilterRegistry() override;
};

} // namespace dataface1
