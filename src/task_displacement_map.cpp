#include "dispatch/task_displacement_map.h"

#include "basekit/assertion.h"

#include <algorithm>

namespace panedeck {

std::shared_ptr<TaskDisplacementMap> TaskDisplacementMap::build() {
    return std::shared_ptr<TaskDisplacementMap>(new TaskDisplacementMap());
}

std::shared_ptr<TaskDisplacementMap> TaskDisplacementMap::incomingTasks(const ustring8& pattern) {
    m_patterns.push_back({regex(pattern), {}});
    return shared_from_this();
}

std::shared_ptr<TaskDisplacementMap> TaskDisplacementMap::displace(const ustring8& pattern) {
    PANEDECK_EXPECT(!m_patterns.empty(), "m_patterns.size()");
    if (!m_patterns.empty()) m_patterns.back().displaced.push_back(regex(pattern));
    return shared_from_this();
}

bool TaskDisplacementMap::isExclusive(const std::string& taskName) const {
    return std::any_of(m_patterns.begin(), m_patterns.end(),
                       [&](const pattern_t& entry) { return matches(taskName, entry.incoming); });
}

bool TaskDisplacementMap::isDisplacedBy(const std::string& taskName, const std::string& byTaskName) const {
    return std::any_of(m_patterns.begin(), m_patterns.end(), [&](const pattern_t& entry) {
        return matches(byTaskName, entry.incoming) && matchesAny(taskName, entry.displaced);
    });
}

boost::regex TaskDisplacementMap::regex(const ustring8& pattern) {
    return boost::regex(pattern);
}

bool TaskDisplacementMap::matches(const std::string& text, const boost::regex& pattern) {
    return boost::regex_search(text, pattern);
}

bool TaskDisplacementMap::matchesAny(const std::string& text, const std::vector<boost::regex>& patterns) {
    return std::any_of(patterns.begin(), patterns.end(),
                       [&](const boost::regex& pattern) { return matches(text, pattern); });
}

} // namespace panedeck
