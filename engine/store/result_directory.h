#pragma once

#include "basekit/api.h"
#include "basekit/error_code.h"
#include "notifykit/progress.h"
#include "store/import_notes.h"
#include "store/profile_data.h"

#include <string>
#include <vector>

namespace panedeck::engine {

/// What a result says of itself beside its data.
struct ResultFacts {
    std::string name;       ///< what a person calls it; the folder's name if it was never given
    std::string source;     ///< the file that it was imported from, as the user named it; may be empty
    std::string format;     ///< the importer's name, such as "folded stacks"; may be empty
    std::string taken = {}; ///< when, as `ImportReport::taken`; may be empty
    ImportNotes notes = {}; ///< what the import left out or changed
};

/// Writes a result directory: `NAME/NAME.pdres` and `NAME/profile.sqlite`, NAME being the last part of
/// `directory`.
///
/// The stack nodes are renumbered in preorder. Everything is written into a hidden sibling folder, flushed to
/// the disk and renamed, so that at any instant the directory is whole or is no result. `directory` must not
/// exist, or must be empty. Folder and files have the rights that the user gives to new ones (umask). Fails,
/// naming the path and the reason, if it cannot be written (a full disk, no right to write) or if `data` is
/// not consistent
/// (`validateProfile`); then nothing of it stays on the disk but the empty directory, if it was there. Polls
/// `progress`.
PANEDECK_API bk2::error_code_t writeResult(const ProfileData& data, const std::string& directory,
                                           const ResultFacts& facts, notifykit2::IProgress* progress);

/// Reads a result directory, which may be read-only. `data` and `facts` are replaced; after a failure they
/// are empty. Fails, naming the file and what is wrong, for a folder that is no result or is half written, a
/// database of a newer schema or of another result, and data that are damaged or do not fit together: what
/// was written is compared with its checksums, every index is checked. A result of an older schema has no
/// checksums and opens without.
PANEDECK_API bk2::error_code_t readResult(const std::string& directory, ProfileData& data, ResultFacts& facts,
                                          notifykit2::IProgress* progress);

/// Reads what a result says of itself, and nothing else; fails as `readResult` does. Costs two small reads.
PANEDECK_API bk2::error_code_t readResultFacts(const std::string& directory, ResultFacts& facts);

/// Removes what imports into `folder` left whose programs were killed. Imports that are under way stay alone.
PANEDECK_API void removeAbandonedResults(const std::string& folder);

/// True if `directory` holds a result file. Does not look into the database.
PANEDECK_API bool isResultDirectory(const std::string& directory);

/// The result directories of a project (a folder with `NAME.pdproj`) or of any other folder, sorted by name.
PANEDECK_API std::vector<std::string> listResults(const std::string& folder);

/// The path of the folder's `NAME.pdproj`, or "" if it is no project.
PANEDECK_API std::string findProjectFile(const std::string& folder);

} // namespace panedeck::engine
