#pragma once

#include "basekit/error_code.h"
#include "filter/filter_expression.h"

#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace panedeck::engine {

/// The named filters of one result. Each operation is atomic; the lock is held for look-ups only, never while
/// a filter is worked out.
class FilterNames {
public:
    void clear(const std::string& name);
    void set(const std::string& name, FilterExpressionPtr expression);
    /// Joins the source's filter of this moment, inverted if asked, into the target's. No filter under the
    /// source changes nothing.
    bk2::error_code_t copy(const std::string& source, const std::string& target, bool invert);
    bool has(const std::string& name) const;
    /// Null if there is none or if it is no condition.
    FilterExpressionPtr find(const std::string& name) const;

    void clearMerges(const std::string& name);
    void recordMerge(const std::string& source, const std::string& target, bool invert);

private:
    struct Merge {
        std::string source;
        bool invert;
    };

    mutable std::mutex m_mutex;
    std::map<std::string, FilterExpressionPtr> m_filters;
    std::map<std::string, std::vector<Merge>> m_merges;
};

} // namespace panedeck::engine
