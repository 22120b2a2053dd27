#pragma once

#include "basekit/error_code.h"

#include <filesystem>
#include <sys/types.h>

namespace panedeck::engine {

/// A folder of a random name beside the place that it is for, to be filled and then put there. While it is
/// filled nobody else gets in, and a lock on it shows that somebody is at work. It is removed with its
/// content unless it was put into its place.
class NewFolder {
public:
    NewFolder() = default;
    ~NewFolder();
    NewFolder(const NewFolder&) = delete;
    NewFolder& operator=(const NewFolder&) = delete;

    /// Makes it, and the folders above it.
    bk2::error_code_t makeBeside(const std::filesystem::path& final_place);

    /// Fails if something other than an empty folder stands at the final place. The folder has the rights
    /// then that the user gives to new folders.
    bk2::error_code_t moveTo(const std::filesystem::path& final_place);

    const std::filesystem::path& path() const { return m_path; }

    /// Removes the new folders in `parent` that nobody works at any more, as their programs were killed, and
    /// the empty folders that stand where they were to go. What cannot be removed stays.
    static void removeAbandoned(const std::filesystem::path& parent);

private:
    bool tryToMake(const std::filesystem::path& path, int& error);
    void close();

    std::filesystem::path m_path; ///< empty if there is none
    int m_descriptor = -1;
    mode_t m_rights = 0; ///< what it was made with
};

/// Flushes a file or folder to the disk.
bk2::error_code_t flushToDisk(const std::string& path);

} // namespace panedeck::engine
