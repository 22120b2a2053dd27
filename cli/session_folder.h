#pragma once

#include "basekit/error_code.h"

#include <string>

namespace panedeck::cli {

/// A folder of this run alone (mode 0700) among the system's temporary files, for what its programs hand to
/// each other. It goes with its owner. What killed runs have left is removed when the next one makes its own:
/// a run holds a lock on its folder, which ends with the process.
class SessionFolder {
public:
    SessionFolder() = default;
    ~SessionFolder();
    SessionFolder(const SessionFolder&) = delete;
    SessionFolder& operator=(const SessionFolder&) = delete;

    bk2::error_code_t make();
    /// Removes it with all that is in it.
    void remove();

    /// Empty before `make`.
    const std::string& path() const { return m_path; }

    /// Makes a folder in it and gives its path.
    bk2::error_code_t make_folder(const std::string& name, std::string& path);
    /// Writes a file into it that nobody else may read, and gives its path.
    bk2::error_code_t write_file(const std::string& name, const std::string& text, std::string& path);

private:
    std::string m_path;
    int m_lock = -1;
};

} // namespace panedeck::cli
