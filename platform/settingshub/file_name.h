#pragma once

// Needed by whatever keeps files under names that come from outside.

#include "basekit/api.h"

#include <string>

namespace settingshub2 {

/// A file name of at most 200 bytes for any text, "" for "". Different texts give different file names, none
/// of which leaves the folder: letters, digits, `_` and `-` stand as they are, any other byte as %XX; what
/// would be longer than 200 bytes is its beginning, `%-` and a hash of all of it.
PANEDECK_API std::string file_name_of(const std::string& text);

} // namespace settingshub2
