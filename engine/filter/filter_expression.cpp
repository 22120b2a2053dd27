#include "filter/filter_expression.h"

#include "filter/filter_evaluation.h"

#include <algorithm>

namespace panedeck::engine {

FilterExpressionPtr FilterExpression::condition(Segment segment, bool is_value, bk2::variant_t value) {
    const std::shared_ptr<FilterExpression> expression(new FilterExpression(Kind::condition));
    expression->m_segment = segment;
    expression->m_is_value = is_value;
    expression->m_value = std::move(value);
    return expression;
}

FilterExpressionPtr FilterExpression::anyRow(RowPaths rows) {
    const std::shared_ptr<FilterExpression> expression(new FilterExpression(Kind::rows));
    expression->m_rows = std::move(rows);
    return expression;
}

FilterExpressionPtr FilterExpression::group(Kind kind, std::vector<FilterExpressionPtr> members) {
    std::erase(members, nullptr);
    if (members.empty()) return nullptr;
    if (members.size() == 1 && kind != Kind::none_of) return members.front();
    const std::shared_ptr<FilterExpression> expression(new FilterExpression(kind));
    for (const FilterExpressionPtr& member : members)
        expression->m_depth = std::max(expression->m_depth, member->m_depth + 1);
    expression->m_members = std::move(members);
    return expression;
}

FilterExpressionPtr FilterExpression::allOf(std::vector<FilterExpressionPtr> members) {
    return group(Kind::all_of, std::move(members));
}

FilterExpressionPtr FilterExpression::anyOf(std::vector<FilterExpressionPtr> members) {
    return group(Kind::any_of, std::move(members));
}

FilterExpressionPtr FilterExpression::inverted(const FilterExpressionPtr& member) {
    if (member && member->m_kind == Kind::none_of) return member->m_members.front();
    const auto expression = group(Kind::none_of, {member});
    if (expression) const_cast<FilterExpression&>(*expression).m_is_join = true;
    return expression;
}

FilterExpressionPtr FilterExpression::joined(const FilterExpressionPtr& first,
                                             const FilterExpressionPtr& second) {
    if (!first || !second) return first ? first : second;
    std::vector<FilterExpressionPtr> members;
    for (const FilterExpressionPtr& part : {first, second}) {
        const bool is_flat = part->m_is_join && part->m_kind == Kind::all_of;
        const auto parts = is_flat ? part->m_members : std::vector{part};
        for (const FilterExpressionPtr& member : parts)
            if (std::ranges::find(members, member) == members.end()) members.push_back(member);
    }
    const bool is_one = members.size() == 1;
    const auto expression = group(Kind::all_of, std::move(members));
    if (!is_one) const_cast<FilterExpression&>(*expression).m_is_join = true;
    return expression;
}

std::shared_ptr<const SampleBits>
FilterExpression::known(const std::shared_ptr<const ProfileStore>& store) const {
    const std::lock_guard lock(m_keeping);
    std::erase_if(m_known, [](const Known& entry) { return entry.store.expired(); });
    for (const Known& entry : m_known)
        if (entry.store.lock() == store) return entry.bits;
    return nullptr;
}

bk2::error_code_t FilterExpression::bitsFor(const std::shared_ptr<const ProfileStore>& store,
                                            notifykit2::IProgress* progress,
                                            std::shared_ptr<const SampleBits>& bits) const {
    bits = known(store);
    if (bits) return {};
    const auto fresh = std::make_shared<SampleBits>(store->data().sample_records());
    const auto error =
        m_is_join ? joinBits(store, progress, *fresh) : evaluateFilter(*this, *store, progress, *fresh);
    if (error.failed()) return error;
    bits = known(store);
    if (bits) return {};
    const std::lock_guard lock(m_keeping);
    m_known.push_back({store, fresh});
    bits = fresh;
    return {};
}

bk2::error_code_t FilterExpression::joinBits(const std::shared_ptr<const ProfileStore>& store,
                                             notifykit2::IProgress* progress, SampleBits& bits) const {
    bits.invert();
    for (const FilterExpressionPtr& member : m_members) {
        std::shared_ptr<const SampleBits> part;
        if (auto error = member->bitsFor(store, progress, part); error.failed()) return error;
        bits.intersect(*part);
    }
    if (m_kind == Kind::none_of) bits.invert();
    return {};
}

} // namespace panedeck::engine
