#pragma once

#include "basekit/api.h"
#include "portkit/ustring8.h"

#include <boost/regex.hpp>

#include <memory>
#include <string>
#include <vector>

namespace panedeck {

/// The displacement decisions of a strategy as regular expressions over task names:
///
///     TaskDisplacementMap::build()
///         ->incomingTasks("^notes:refresh")->displace("^notes:")
///         ->incomingTasks("^notes:find")->displace("^notes:find");
///
/// Patterns are Boost.Regex in its default syntax and may match anywhere in a name unless they anchor
/// themselves. A map is built once, on one thread; from then on its questions may be asked from any thread.
class PANEDECK_API TaskDisplacementMap : public std::enable_shared_from_this<TaskDisplacementMap> {
public:
    static std::shared_ptr<TaskDisplacementMap> build();

    /// Appends an entry for the incoming tasks that match `pattern`. Gives back the map, as `displace` does.
    /// Both throw `boost::regex_error` for a pattern that is none: patterns are constants of the program.
    std::shared_ptr<TaskDisplacementMap> incomingTasks(const ustring8& pattern);

    /// The tasks of the last entry displace the tasks that match `pattern`. Without an entry nothing is
    /// added, which is logged as an assertion.
    std::shared_ptr<TaskDisplacementMap> displace(const ustring8& pattern);

    /// True if the name is that of an incoming task of any entry.
    bool isExclusive(const std::string& taskName) const;

    /// True if an entry matches the incoming task `byTaskName` and displaces the older task `taskName`.
    bool isDisplacedBy(const std::string& taskName, const std::string& byTaskName) const;

    /// Compiles a pattern.
    static boost::regex regex(const ustring8& pattern);

    /// True if the pattern matches somewhere in `text`.
    static bool matches(const std::string& text, const boost::regex& pattern);

private:
    struct pattern_t {
        boost::regex incoming;
        std::vector<boost::regex> displaced;
    };

    TaskDisplacementMap() = default;

    static bool matchesAny(const std::string& text, const std::vector<boost::regex>& patterns);

    std::vector<pattern_t> m_patterns; ///< in the order of adding
};

} // namespace panedeck
