#pragma once

// Queries of a test's own making: descriptions whose fields a test sets before it hands them out.

#include "basekit/ref_counted.h"
#include "dataface/input_data.h"
#include "dataface/query.h"

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace panedeck::tests {

/// The fields and answers that all fake queries share. `Interface` is `IQuery` or one of its sub-interfaces.
template <class Self, class Interface>
class FakeQueryBase : public bk2::ref_counted_t<Self, bk2::mt_ref_count_impl_t, Interface> {
public:
    using IQuery = dataface1::IQuery;

    explicit FakeQueryBase(std::string queryName) : name(queryName), displayName(std::move(queryName)) {}
    FakeQueryBase() = default;

    std::string getName() const override { return name; }
    std::string getDisplayName() const override { return displayName; }
    std::string getDescription() const override { return description; }
    dataface1::query_value_type_t getValueType() const override { return type; }
    bk2::variant_t getAttribute(std::string_view key, const bk2::variant_t& otherwise) const override {
        const auto found = attributes.find(std::string(key));
        return found == attributes.end() ? otherwise : found->second;
    }
    std::vector<bk2::sptr_t<IQuery>> getPercentBaseMetrics() const override { return percentBases; }
    std::vector<dataface1::query_issue_t> getIssues() const override { return issues; }
    std::string getConfidenceText() const override { return confidence; }
    bk2::sptr_t<IQuery> getLevelBelow() const override { return levelBelow; }
    bool isSame(const IQuery& other) const override {
        const auto* same = dynamic_cast<const Self*>(&other);
        return same && same->key() == static_cast<const Self*>(this)->key();
    }
    /// A copy that remembers its expansion in the name: "/Metrics/cycles<+/Thread>".
    bk2::sptr_t<IQuery> withExpansion(const bk2::sptr_t<IQuery>& expansion) const override {
        if (refusesExpansion) return nullptr;
        const auto copy = bk2::make_sptr<Self>();
        copy->name = name.substr(0, name.find("<+"));
        if (expansion) copy->name += "<+" + expansion->getName() + ">";
        return copy;
    }
    std::string key() const { return name; }

    std::string name;
    std::string displayName;
    std::string description;
    std::string confidence;
    dataface1::query_value_type_t type = dataface1::query_value_type_t::text;
    std::map<std::string, bk2::variant_t> attributes;
    std::vector<bk2::sptr_t<IQuery>> percentBases;
    std::vector<dataface1::query_issue_t> issues;
    bk2::sptr_t<IQuery> levelBelow;
    bool refusesExpansion = false;
};

/// A metric.
class FakeQuery : public FakeQueryBase<FakeQuery, dataface1::IQuery> {
public:
    using FakeQueryBase::FakeQueryBase;
};

/// A grouping or an information column.
class FakeInfoQuery : public FakeQueryBase<FakeInfoQuery, dataface1::IInfoQuery> {
public:
    using FakeQueryBase::FakeQueryBase;

    std::string getAliasForUnknown() const override { return alias; }
    std::vector<dataface1::query_restriction_t> getRestrictions() const override { return restrictions; }
    std::string getTableName() const override { return table; }
    std::string getColumnName() const override { return "name"; }
    std::string getRecursionText() const override { return recursion; }
    std::string key() const {
        std::string text = name;
        for (const auto& restriction : restrictions)
            text += "|" + bk2::get_value_string(restriction.value);
        return text;
    }

    std::string alias = "[Unknown]";
    std::string table = "dd_function";
    std::string recursion;
    std::vector<dataface1::query_restriction_t> restrictions;
};

/// A query computed from others.
class FakeDerivedQuery : public FakeQueryBase<FakeDerivedQuery, dataface1::IDerivedQuery> {
public:
    using FakeQueryBase::FakeQueryBase;

    std::vector<bk2::sptr_t<IQuery>> getComponents() const override { return components; }
    std::string getExpansionText() const override { return expansion; }

    std::vector<bk2::sptr_t<IQuery>> components;
    std::string expansion;
};

/// A metric of that name and kind of value.
inline bk2::sptr_t<FakeQuery>
makeMetric(const std::string& name,
           dataface1::query_value_type_t type = dataface1::query_value_type_t::count) {
    const auto query = bk2::make_sptr<FakeQuery>(name);
    query->type = type;
    return query;
}

/// A vector of those queries, null without any.
inline bk2::sptr_t<dataface1::IVectorQuery>
makeVector(const std::vector<bk2::sptr_t<dataface1::IQuery>>& members) {
    bk2::sptr_t<dataface1::IVectorQuery> vector;
    for (const auto& member : members)
        vector = dataface1::IVectorQuery::pushBack(vector, member);
    return vector;
}

/// Knows the queries that a test has put in.
class FakeQueryLibrary
    : public bk2::ref_counted_t<FakeQueryLibrary, bk2::mt_ref_count_impl_t, dataface1::IQueryLibrary> {
public:
    bk2::sptr_t<dataface1::IQuery> findQuery(const std::string& name) const override {
        const auto found = queries.find(name);
        return found == queries.end() ? nullptr : found->second;
    }
    bk2::sptr_t<dataface1::IQuery> getWellKnownGrouping(const std::string& name, int) const override {
        return findQuery(name);
    }

    std::map<std::string, bk2::sptr_t<dataface1::IQuery>> queries;
};

} // namespace panedeck::tests
