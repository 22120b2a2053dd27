#pragma once

#include "basekit/sptr.h"
#include "basekit/variant.h"
#include "dataface/query.h"

#include <string>
#include <utility>
#include <vector>

namespace panedeck::engine {

/// What every query says of itself.
struct QueryFacts {
    std::string name;
    std::string display_name;
    std::string description;
    dataface1::query_value_type_t value_type = dataface1::query_value_type_t::text;
    std::vector<std::pair<std::string, bk2::variant_t>> attributes;
};

/// A query that answers from its facts; derived classes add what their kind has.
template <class Interface>
class FactQuery : public Interface {
public:
    explicit FactQuery(QueryFacts facts) : m_facts(std::move(facts)) {}

    std::string getName() const override { return m_facts.name; }
    std::string getDisplayName() const override { return m_facts.display_name; }
    std::string getDescription() const override { return m_facts.description; }
    dataface1::query_value_type_t getValueType() const override { return m_facts.value_type; }
    bk2::variant_t getAttribute(std::string_view name, const bk2::variant_t& otherwise) const override {
        for (const auto& [attribute, value] : m_facts.attributes)
            if (attribute == name) return value;
        return otherwise;
    }
    std::vector<bk2::sptr_t<dataface1::IQuery>> getPercentBaseMetrics() const override { return {}; }
    std::vector<dataface1::query_issue_t> getIssues() const override { return {}; }
    std::string getConfidenceText() const override { return {}; }
    bk2::sptr_t<dataface1::IQuery> getLevelBelow() const override { return nullptr; }
    bool isSame(const dataface1::IQuery& other) const override { return other.getName() == m_facts.name; }
    bk2::sptr_t<dataface1::IQuery>
    withExpansion(const bk2::sptr_t<dataface1::IQuery>& expansion) const override {
        // Only metrics can be expanded; without an expansion a query is what it is.
        return expansion ? nullptr : self();
    }

    const QueryFacts& facts() const { return m_facts; }

protected:
    ~FactQuery() override = default;

    bk2::sptr_t<dataface1::IQuery> self() const {
        return bk2::sptr_t<dataface1::IQuery>(const_cast<FactQuery*>(this));
    }

private:
    QueryFacts m_facts;
};

} // namespace panedeck::engine
