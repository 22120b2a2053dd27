#pragma once

#include "basekit/error_code.h"
#include "notifykit/progress.h"
#include "store/import_notes.h"
#include "store/profile_data.h"

#include <string>

namespace panedeck::engine {

/// The newest layout of `profile.sqlite` that is read, and the one that is written; the file's user_version.
/// 1: without `checksum`, `result_fact` and `import_note`.
inline constexpr int profile_schema_version = 2;

/// Values per BLOB of a chunked column.
inline constexpr std::size_t column_chunk_values = 65536;

/// What a database says beside its profile.
struct DatabaseFacts {
    int schema = profile_schema_version;
    std::string result_id; ///< that of the result's other file; empty in the oldest schema
    ImportNotes notes;
};

/// Writes `data` into a new database file, its stack nodes renumbered in preorder. The dimension tables are
/// plain rows; the stack tree and the samples are columns in chunks of `column_chunk_values` values, little
/// endian. Each table and each chunk gets a checksum. Not flushed to the disk. Polls `progress`.
bk2::error_code_t writeProfileDatabase(const ProfileData& data, const DatabaseFacts& facts,
                                       const std::string& path, notifykit2::IProgress* progress);

/// Reads a database file into `data` and `facts`, which are replaced. A file that is no database, of a newer
/// schema, with a column whose chunks have gaps or with something that its checksum does not fit is refused;
/// the indexes in it are not checked here (`validateProfile`). In a file of an older schema nothing has a
/// checksum, and tables that it did not know are empty.
bk2::error_code_t readProfileDatabase(const std::string& path, ProfileData& data, DatabaseFacts& facts,
                                      notifykit2::IProgress* progress);

/// Reads the facts alone, and checks no more than them.
bk2::error_code_t readDatabaseFacts(const std::string& path, DatabaseFacts& facts);

} // namespace panedeck::engine
