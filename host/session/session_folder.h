#pragma once

#include <string>
#include <vector>

namespace panedeck::host {

/// The folder in which the session of what is open is kept: that of a result directory in itself; that of a
/// profile file, or of two results that are compared, in the user's folder, under a name that stands for
/// their canonical paths in order. Such a folder is made here and counts as used now; of more than 200 the
/// least recently used ones are removed. Empty if there is no user's folder or it cannot be written to, which
/// is logged.
std::string findSessionFolder(const std::vector<std::string>& resultPaths);

} // namespace panedeck::host
