#pragma once

#include "settingshub/property_storage.h"

#include <string>
#include <vector>

namespace panedeck::host {

/// The folder in which the session of what is open is kept.
struct session_folder_t {
    std::string path; ///< empty if there is no place for it
    settingshub2::IPropertyStorage::folder_t kind = settingshub2::IPropertyStorage::folder_t::made;
};

/// That of a result directory is the directory itself. That of a profile file, or of two results that are
/// compared, is in the user's folder, under a name that stands for their canonical paths in order. Such a
/// folder is made here and counts as used now; of more than 200 the least recently used ones are removed.
/// What cannot be made is logged.
session_folder_t findSessionFolder(const std::vector<std::string>& resultPaths);

} // namespace panedeck::host
