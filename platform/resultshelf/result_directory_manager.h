#pragma once

// Needed by the options, the importer and the sample project: how result directories are called.

#include "basekit/api.h"
#include "basekit/error_code.h"

#include <string>

namespace resultshelf2 {

/// Names result directories by a pattern: a run of `@` is a counter, padded with zeros to the run's length
/// (and longer where it must be), `{at}` is the abbreviation of the analysis type. `r@@@{at}` gives `r000hs`,
/// `r001hs`, …
class PANEDECK_API ResultDirectoryManager {
public:
    /// "r@@@".
    static std::string getDefaultResultDirectoryName();

    /// Whether a directory can be called so: not empty, well-formed UTF-8, no path separator (of any system),
    /// no control character, not "." or "..", and short enough for a file name.
    static bool validateResultDirectoryPattern(const std::string& pattern);

    /// The pattern with its counter and analysis type filled in.
    static std::string formResultDirectoryName(const std::string& pattern, const std::string& analysis_type,
                                               unsigned counter);

    /// Makes the next result directory in `parent` (which is made too if it is missing) and gives its path.
    /// The counter is one more than the highest that a neighbour of the same pattern has, whatever its
    /// analysis type. A pattern without a counter is used as it stands once and then gets `-1`, `-2`, …
    /// behind it. Two programs never get the same directory. Fails for a pattern that does not validate, or
    /// if the directory cannot be made.
    static bk2::error_code_t createNextResultDirectory(const std::string& parent, const std::string& pattern,
                                                       const std::string& analysis_type, std::string& path);
};

} // namespace resultshelf2
