#include "query/grouping_query.h"

#include "basekit/ref_counted.h"
#include "query/query_facts.h"

#include <array>

namespace panedeck::engine {

namespace {

using dataface1::IInfoQuery;
using dataface1::IQuery;
using dataface1::IVectorQuery;
using QueryPtr = bk2::sptr_t<IQuery>;

struct TableColumn {
    const char* table;
    const char* column;
};

TableColumn tableOf(Segment segment) {
    switch (segment) {
    case Segment::process:
        return {"dd_process", "name"};
    case Segment::thread:
        return {"dd_thread", "name"};
    case Segment::module:
        return {"dd_module_file", "name"};
    case Segment::source_file:
        return {"dd_source_file", "name"};
    case Segment::function:
        return {"dd_function", "name"};
    case Segment::callees:
    case Segment::callers:
        break;
    }
    return {"dd_callsite", "code_location"};
}

TableColumn tableOf(FunctionFact fact) {
    switch (fact) {
    case FunctionFact::module:
        return {"dd_module_file", "name"};
    case FunctionFact::source_file:
        return {"dd_source_file", "name"};
    case FunctionFact::full_name:
        break;
    }
    return {"dd_function", "name"};
}

/// An info query over one column of a table.
class InfoQueryBase : public FactQuery<IInfoQuery> {
public:
    InfoQueryBase(QueryFacts facts, std::string alias, TableColumn place)
        : FactQuery(std::move(facts)), m_alias(std::move(alias)), m_place(place) {}

    std::string getAliasForUnknown() const override { return m_alias; }
    std::vector<dataface1::query_restriction_t> getRestrictions() const override { return {}; }
    std::string getTableName() const override { return m_place.table; }
    std::string getColumnName() const override { return m_place.column; }
    std::string getRecursionText() const override { return {}; }

protected:
    ~InfoQueryBase() override = default;

private:
    std::string m_alias;
    TableColumn m_place;
};

class LevelQuery final : public bk2::ref_counted_t<LevelQuery, bk2::mt_ref_count_impl_t, InfoQueryBase>,
                         public SegmentHandle {
public:
    LevelQuery(QueryFacts facts, std::string alias, Segment segment)
        : ref_counted_t(std::move(facts), std::move(alias), tableOf(segment)), m_segment(segment) {}

    Segment segment() const override { return m_segment; }
    std::string getRecursionText() const override {
        return isRecursive(m_segment) ? getDisplayName() : std::string();
    }

private:
    Segment m_segment;
};

class FunctionFactQuery final
    : public bk2::ref_counted_t<FunctionFactQuery, bk2::mt_ref_count_impl_t, InfoQueryBase>,
      public FactHandle {
public:
    FunctionFactQuery(QueryFacts facts, std::string alias, FunctionFact fact)
        : ref_counted_t(std::move(facts), std::move(alias), tableOf(fact)), m_fact(fact) {}

    FunctionFact fact() const override { return m_fact; }

private:
    FunctionFact m_fact;
};

/// A vector with a name of its own; what it says of values is its first member's.
class MembersBase : public FactQuery<IVectorQuery> {
public:
    MembersBase(QueryFacts facts, std::vector<QueryPtr> members)
        : FactQuery(std::move(facts)), m_members(std::move(members)) {}

    bk2::iterator_ptr_t<QueryPtr> getQueryIterator() const override {
        return bk2::make_vector_iterator(m_members);
    }
    QueryPtr getUnderlyingQuery() const override { return m_members.empty() ? nullptr : m_members.front(); }

protected:
    ~MembersBase() override = default;

private:
    std::vector<QueryPtr> m_members;
};

class NamedVector final : public bk2::ref_counted_t<NamedVector, bk2::mt_ref_count_impl_t, MembersBase> {
public:
    using ref_counted_t::ref_counted_t;
};

class PathQuery final : public bk2::ref_counted_t<PathQuery, bk2::mt_ref_count_impl_t, MembersBase>,
                        public PathHandle {
public:
    PathQuery(QueryFacts facts, std::vector<QueryPtr> levels, GroupingPath path, QueryPtr below)
        : ref_counted_t(std::move(facts), std::move(levels)), m_path(std::move(path)),
          m_below(std::move(below)) {}

    const GroupingPath& path() const override { return m_path; }
    QueryPtr getLevelBelow() const override { return m_below; }

private:
    GroupingPath m_path;
    QueryPtr m_below;
};

QueryFacts factsOf(std::string name, const LevelNames& names) {
    QueryFacts facts;
    facts.name = std::move(name);
    facts.display_name = names.display_name;
    facts.description = names.description;
    return facts;
}

} // namespace

bk2::sptr_t<IInfoQuery> makeLevelQuery(Segment segment, const LevelNames& names) {
    return bk2::make_sptr<LevelQuery>(factsOf("/" + std::string(segmentName(segment)), names),
                                      names.alias_for_unknown, segment);
}

bk2::sptr_t<IVectorQuery> makePathQuery(GroupingPath path, std::vector<QueryPtr> levels, QueryPtr below) {
    QueryFacts facts;
    facts.name = groupingPathText(path);
    for (const QueryPtr& level : levels)
        facts.display_name += (facts.display_name.empty() ? "" : " / ") + level->getDisplayName();
    if (!levels.empty()) facts.description = levels.front()->getDescription();
    return bk2::make_sptr<PathQuery>(std::move(facts), std::move(levels), std::move(path), std::move(below));
}

bk2::sptr_t<IInfoQuery> makeFactQuery(FunctionFact fact, std::string name, const LevelNames& names) {
    return bk2::make_sptr<FunctionFactQuery>(factsOf(std::move(name), names), names.alias_for_unknown, fact);
}

bk2::sptr_t<IVectorQuery> makeNamedVector(std::string name, std::string display_name,
                                          std::vector<QueryPtr> members) {
    QueryFacts facts;
    facts.name = std::move(name);
    facts.display_name = std::move(display_name);
    if (!members.empty()) facts.value_type = members.front()->getValueType();
    return bk2::make_sptr<NamedVector>(std::move(facts), std::move(members));
}

} // namespace panedeck::engine
