#pragma once

#include "basekit/error_code.h"
#include "notifykit/progress.h"
#include "store/profile_data.h"

#include <string>

namespace panedeck::engine {

/// The newest layout of `profile.sqlite` that is read, and the one that is written; the file's user_version.
inline constexpr int profile_schema_version = 1;

/// Values per BLOB of a chunked column.
inline constexpr std::size_t column_chunk_values = 65536;

/// Writes `data` into a new database file, its stack nodes renumbered in preorder. The dimension tables are
/// plain rows; the stack tree and the samples are columns in chunks of `column_chunk_values` values, little
/// endian. Not flushed to the disk. Polls `progress`.
bk2::error_code_t writeProfileDatabase(const ProfileData& data, const std::string& path,
                                       notifykit2::IProgress* progress);

/// Reads a database file into `data`, which is replaced. A file that is no database, of a newer schema or
/// with a column whose chunks have gaps is refused; the indexes in it are not checked here
/// (`validateProfile`).
bk2::error_code_t readProfileDatabase(const std::string& path, ProfileData& data,
                                      notifykit2::IProgress* progress);

} // namespace panedeck::engine
