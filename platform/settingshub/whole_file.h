#pragma once

// Needed by the storages: files that are read and written whole.

#include "basekit/api.h"
#include "basekit/error_code.h"
#include "settingshub/file_operations.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace settingshub2 {

/// What a file that is read whole may have by default.
inline constexpr std::size_t longest_whole_file = std::size_t{128} << 20;

/// Reads the whole file into `text`, which is replaced. A file that does not exist succeeds with the status
/// "nothing done" and empty text. Fails, naming the file and the reason, if it cannot be read or is larger
/// than `limit` bytes.
PANEDECK_API bk2::error_code_t read_whole_file(const std::string& path, std::string& text,
                                               std::size_t limit = longest_whole_file);

/// Replaces the file by `text`: written beside it under a random name, flushed to the disk, then renamed. A
/// new file has the rights that the user gives to new files (umask), an old one keeps its own. Whatever
/// happens at any instant, the path holds the old content or the new one, whole; a failure (a full disk, a
/// folder that is not writable) leaves the old one and names the file and the reason. The folder is made if
/// it is missing, and what a killed writer of the same path left is removed. Two writers of one path must
/// exclude each other: see `file_lock_t`.
PANEDECK_API bk2::error_code_t write_whole_file(const std::string& path, std::string_view text,
                                                file_operations_t& operations = file_operations_t::system());

} // namespace settingshub2
