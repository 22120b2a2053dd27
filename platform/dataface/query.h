#pragma once

// Needed by grid handlers, filters, columns: what a column shows and what a row is grouped by.

#include "basekit/api.h"
#include "basekit/generic_iterator.h"
#include "basekit/object_interface.h"
#include "basekit/sptr.h"
#include "basekit/variant.h"

#include <string>
#include <string_view>
#include <vector>

namespace dataface1 {

/// What kind of value a query gives. The numbers are fixed: columns derive their unit of measure from them.
enum class query_value_type_t : int {
    text = 0,
    time = 1, ///< the query's attribute "timeUnit" tells the unit of its numbers in seconds
    integer = 2,
    number = 3,
    address = 4,
    bytes = 7,
    count = 8,
};

/// A known weakness of a metric's values and the text of the threshold that tells it, empty if there is none.
struct query_issue_t {
    std::string text;
    std::string threshold_text;
};

/// Something that a table can show or group by: an immutable description, not a result. Queries come from the
/// query library; one object is shared by all that use it, so two columns show the same thing if their
/// queries are the same.
class PANEDECK_API IQuery : public bk2::object_interface_t {
public:
    /// The name by which the query library finds it again, such as "/Metrics/cycles".
    virtual std::string getName() const = 0;
    /// What a person reads in a column's head.
    virtual std::string getDisplayName() const = 0;
    /// One or two sentences, or "".
    virtual std::string getDescription() const = 0;
    virtual query_value_type_t getValueType() const = 0;
    /// An attribute, or `otherwise` if the query has none of that name.
    virtual bk2::variant_t getAttribute(std::string_view name, const bk2::variant_t& otherwise) const = 0;
    /// Metrics whose values can be the base of "percent_by".
    virtual std::vector<bk2::sptr_t<IQuery>> getPercentBaseMetrics() const = 0;
    virtual std::vector<query_issue_t> getIssues() const = 0;
    /// How far the values can be trusted, as a text; "" if nothing is to be said.
    virtual std::string getConfidenceText() const = 0;
    /// For a grouping: the grouping of the next level, null at the last. A recursive last level has none
    /// below.
    virtual bk2::sptr_t<IQuery> getLevelBelow() const = 0;
    /// True if both describe the same thing.
    virtual bool isSame(const IQuery& other) const = 0;
    /// The same query expanded by `expansion`, an info query; null gives it without any expansion.
    virtual bk2::sptr_t<IQuery> withExpansion(const bk2::sptr_t<IQuery>& expansion) const = 0;

    /// A copy of `query` with that expansion, or without one if `expansion` is null. Null if `query` is null.
    static bk2::sptr_t<IQuery> combineExpansion(const bk2::sptr_t<IQuery>& query,
                                                const bk2::sptr_t<IQuery>& expansion);

protected:
    ~IQuery() override;
};

/// A query that stands for several: the metrics of a result, or the levels of a grouping path.
class PANEDECK_API IVectorQuery : public IQuery {
public:
    /// Runs over the members. Null only if they cannot be told.
    virtual bk2::iterator_ptr_t<bk2::sptr_t<IQuery>> getQueryIterator() const = 0;
    /// The query that the vector stands for where one is asked: the first member; for a grouping level its
    /// own info query. Null for an empty vector.
    virtual bk2::sptr_t<IQuery> getUnderlyingQuery() const = 0;

    /// Null if `query` is no vector.
    static bk2::sptr_t<IVectorQuery> cast(const bk2::sptr_t<IQuery>& query);
    /// A new vector: the members of `vector` (none if it is null) and then `query`. Null if `query` is null.
    static bk2::sptr_t<IVectorQuery> pushBack(const bk2::sptr_t<IVectorQuery>& vector,
                                              const bk2::sptr_t<IQuery>& query);

protected:
    ~IVectorQuery() override;
};

/// Narrows an info query to one value of another: the columns of a metric expanded by thread carry one each.
struct query_restriction_t {
    bk2::sptr_t<IQuery> query;
    bk2::variant_t value;
};

/// A query over a dimension table: functions, modules, threads, the frames of a call stack.
class PANEDECK_API IInfoQuery : public IQuery {
public:
    /// The text that stands for an unknown value.
    virtual std::string getAliasForUnknown() const = 0;
    virtual std::vector<query_restriction_t> getRestrictions() const = 0;
    /// The dimension table and its column, such as "dd_function", "name".
    virtual std::string getTableName() const = 0;
    virtual std::string getColumnName() const = 0;
    /// Not empty for a level that repeats (the frames of a call stack): the text that names the recursion.
    virtual std::string getRecursionText() const = 0;

    /// Null if `query` is no info query.
    static bk2::sptr_t<IInfoQuery> cast(const bk2::sptr_t<IQuery>& query);

protected:
    ~IInfoQuery() override;
};

/// A query computed from others.
class PANEDECK_API IDerivedQuery : public IQuery {
public:
    virtual std::vector<bk2::sptr_t<IQuery>> getComponents() const = 0;
    /// What the columns of an expansion stand for, such as "by thread"; "" if it is none.
    virtual std::string getExpansionText() const = 0;

    static bk2::sptr_t<IDerivedQuery> cast(const bk2::sptr_t<IQuery>& query);

protected:
    ~IDerivedQuery() override;
};

/// Marks a query whose values are times.
class PANEDECK_API ITimeQuery : public IQuery {
public:
    static bk2::sptr_t<ITimeQuery> cast(const bk2::sptr_t<IQuery>& query);

protected:
    ~ITimeQuery() override;
};

/// The query itself, or what it stands for if it is a vector. Null only for null or an empty vector.
PANEDECK_API bk2::sptr_t<IQuery> throughVector(const bk2::sptr_t<IQuery>& query);

} // namespace dataface1
