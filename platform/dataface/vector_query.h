#pragma once

#include "basekit/ref_counted.h"
#include "dataface/query.h"

#include <string>
#include <vector>

namespace dataface1 {

/// A vector that is put together by hand, see `IVectorQuery::pushBack`: its members and nothing else. Where
/// one query is asked, the first member answers; an empty vector answers with empty texts and defaults.
class VectorQuery : public bk2::ref_counted_t<VectorQuery, bk2::mt_ref_count_impl_t, IVectorQuery> {
public:
    /// No member is null.
    explicit VectorQuery(std::vector<bk2::sptr_t<IQuery>> members);
    ~VectorQuery() override;

    /// The member's name; the names of several are joined by ",".
    std::string getName() const override;
    std::string getDisplayName() const override;
    std::string getDescription() const override;
    query_value_type_t getValueType() const override;
    bk2::variant_t getAttribute(std::string_view name, const bk2::variant_t& otherwise) const override;
    std::vector<bk2::sptr_t<IQuery>> getPercentBaseMetrics() const override;
    std::vector<query_issue_t> getIssues() const override;
    std::string getConfidenceText() const override;
    bk2::sptr_t<IQuery> getLevelBelow() const override;
    /// True for a vector of the same members in the same order.
    bool isSame(const IQuery& other) const override;
    /// A vector of the members, each with that expansion; null if a member cannot take it.
    bk2::sptr_t<IQuery> withExpansion(const bk2::sptr_t<IQuery>& expansion) const override;

    bk2::iterator_ptr_t<bk2::sptr_t<IQuery>> getQueryIterator() const override;
    bk2::sptr_t<IQuery> getUnderlyingQuery() const override;

private:
    std::vector<bk2::sptr_t<IQuery>> m_members;
};

} // namespace dataface1
