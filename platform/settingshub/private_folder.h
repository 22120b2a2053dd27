#pragma once

// Needed by host and relay, which share the folder of exports.

#include "basekit/api.h"
#include "basekit/error_code.h"

#include <chrono>
#include <functional>
#include <string>
#include <string_view>

namespace settingshub2 {

/// A folder that only this user may enter, for files that programs of one session hand to each other. The
/// files have random names, which nobody can guess and which say which files are meant: all others in the
/// folder are left alone. No operation follows a symbolic link or leaves the folder. Holds the folder itself,
/// not its name.
class PANEDECK_API PrivateFolder {
public:
    PrivateFolder() = default;
    ~PrivateFolder();
    PrivateFolder(PrivateFolder&& other) noexcept;
    PrivateFolder& operator=(PrivateFolder&& other) noexcept;

    /// Opens the folder. Fails, naming it, unless it is a folder of this user that nobody else has rights to
    /// (mode 0700).
    bk2::error_code_t open(const std::string& path);
    bool is_open() const { return m_descriptor >= 0; }

    /// Makes an empty file that nobody else may read and gives its name.
    bk2::error_code_t create_file(std::string& name);

    /// Where a file of that name lies, for those who open files by path.
    std::string path_of(std::string_view name) const;

    /// A descriptor for reading, which the caller closes; -1 if there is no regular file of that name, or if
    /// the name is none that `create_file` gives.
    int open_file(std::string_view name) const;

    /// Does nothing if it is not there.
    void remove_file(std::string_view name);

    /// Removes the files that were last written before `time`, except those that `is_kept` names.
    void remove_files_before(std::chrono::system_clock::time_point time,
                             const std::function<bool(const std::string&)>& is_kept);

private:
    void close();

    std::string m_path;
    int m_descriptor = -1;
};

} // namespace settingshub2
