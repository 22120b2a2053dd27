#include "dataface/vector_query.h"

#include <utility>

namespace dataface1 {

namespace {

using members_t = std::vector<bk2::sptr_t<IQuery>>;

std::string joined(const members_t& members, std::string (IQuery::*text)() const, const char* separator) {
    std::string result;
    for (const auto& member : members) {
        if (!result.empty()) result += separator;
        result += (member.get()->*text)();
    }
    return result;
}

} // namespace

VectorQuery::VectorQuery(members_t members) : m_members(std::move(members)) {}

VectorQuery::~VectorQuery() = default;

std::string VectorQuery::getName() const {
    return joined(m_members, &IQuery::getName, ",");
}

std::string VectorQuery::getDisplayName() const {
    return joined(m_members, &IQuery::getDisplayName, ", ");
}

std::string VectorQuery::getDescription() const {
    return m_members.empty() ? std::string() : m_members.front()->getDescription();
}

query_value_type_t VectorQuery::getValueType() const {
    return m_members.empty() ? query_value_type_t::text : m_members.front()->getValueType();
}

bk2::variant_t VectorQuery::getAttribute(std::string_view name, const bk2::variant_t& otherwise) const {
    return m_members.empty() ? otherwise : m_members.front()->getAttribute(name, otherwise);
}

members_t VectorQuery::getPercentBaseMetrics() const {
    return m_members.empty() ? members_t() : m_members.front()->getPercentBaseMetrics();
}

std::vector<query_issue_t> VectorQuery::getIssues() const {
    return m_members.empty() ? std::vector<query_issue_t>() : m_members.front()->getIssues();
}

std::string VectorQuery::getConfidenceText() const {
    return m_members.empty() ? std::string() : m_members.front()->getConfidenceText();
}

bk2::sptr_t<IQuery> VectorQuery::getLevelBelow() const {
    return m_members.empty() ? nullptr : m_members.front()->getLevelBelow();
}

bool VectorQuery::isSame(const IQuery& other) const {
    const auto* vector = dynamic_cast<const IVectorQuery*>(&other);
    const auto others = vector ? vector->getQueryIterator() : nullptr;
    if (!others) return false;
    for (const auto& member : m_members) {
        if (others->at_end() || !member->isSame(*others->current())) return false;
        others->next();
    }
    return others->at_end();
}

bk2::sptr_t<IQuery> VectorQuery::withExpansion(const bk2::sptr_t<IQuery>& expansion) const {
    members_t expanded;
    expanded.reserve(m_members.size());
    for (const auto& member : m_members) {
        expanded.push_back(member->withExpansion(expansion));
        if (!expanded.back()) return nullptr;
    }
    return bk2::make_sptr<VectorQuery>(std::move(expanded));
}

bk2::iterator_ptr_t<bk2::sptr_t<IQuery>> VectorQuery::getQueryIterator() const {
    return bk2::make_vector_iterator(m_members);
}

bk2::sptr_t<IQuery> VectorQuery::getUnderlyingQuery() const {
    return m_members.empty() ? nullptr : m_members.front();
}

} // namespace dataface1
