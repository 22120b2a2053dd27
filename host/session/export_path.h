#pragma once

#include "basekit/error_code.h"

#include <string>
#include <string_view>

namespace panedeck::host {

/// Where an export would go.
struct export_path_t {
    std::string path; ///< absolute, symbolic links followed
    bool exists = false;
};

/// Works out what a person means by a file's name: `~` and `~/…` lie in the user's home, relative names in
/// the working directory of this program. Fails, naming the place, for an empty name, a folder, anything that
/// is no ordinary file, and a place that cannot be written to. Changes nothing.
bk2::error_code_t resolveExportPath(std::string_view given, export_path_t& resolved);

} // namespace panedeck::host
