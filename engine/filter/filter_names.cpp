#include "filter/filter_names.h"

#include "filter/query_filter_builder.h"

namespace panedeck::engine {

void FilterNames::clear(const std::string& name) {
    FilterExpressionPtr dropped; // freed outside the lock, with all that it has worked out
    const std::lock_guard lock(m_mutex);
    const auto found = m_filters.find(name);
    if (found == m_filters.end()) return;
    dropped = std::move(found->second);
    m_filters.erase(found);
}

void FilterNames::set(const std::string& name, FilterExpressionPtr expression) {
    const std::lock_guard lock(m_mutex);
    m_filters[name].swap(expression);
}

bk2::error_code_t FilterNames::copy(const std::string& source, const std::string& target, bool invert) {
    const std::lock_guard lock(m_mutex);
    const auto from = m_filters.find(source);
    if (from == m_filters.end()) return {};
    const FilterExpressionPtr added = invert ? FilterExpression::inverted(from->second) : from->second;
    const auto to = m_filters.find(target);
    FilterExpressionPtr result =
        FilterExpression::joined(to == m_filters.end() ? nullptr : to->second, added);
    if (result && result->depth() > deepest_filter)
        return bk2::error_code_t::raise(bk2::kinds::is_not_valid_state, "The filter is nested too deeply");
    m_filters[target] = std::move(result);
    return {};
}

bool FilterNames::has(const std::string& name) const {
    const std::lock_guard lock(m_mutex);
    return m_filters.contains(name);
}

FilterExpressionPtr FilterNames::find(const std::string& name) const {
    const std::lock_guard lock(m_mutex);
    const auto found = m_filters.find(name);
    return found == m_filters.end() ? nullptr : found->second;
}

void FilterNames::clearMerges(const std::string& name) {
    const std::lock_guard lock(m_mutex);
    m_merges.erase(name);
}

void FilterNames::recordMerge(const std::string& source, const std::string& target, bool invert) {
    const std::lock_guard lock(m_mutex);
    m_merges[target].push_back({source, invert});
}

} // namespace panedeck::engine
