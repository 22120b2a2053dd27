#include "session/session_folder.h"

#include "logkit/component_logger.h"
#include "settingshub/file_lock.h"
#include "settingshub/file_name.h"
#include "settingshub/product_locations.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace panedeck::host {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t mostFolders = 200;

std::string nameOf(const std::vector<std::string>& resultPaths) {
    std::string paths;
    for (const std::string& path : resultPaths) {
        std::error_code error;
        const fs::path canonical = fs::canonical(path, error);
        // The one character that no path holds.
        if (!paths.empty()) paths += '\0';
        paths += error ? path : canonical.string();
    }
    return settingshub2::file_name_of(paths);
}

/// Folders only, least recently used first. What cannot be looked at is left alone.
std::vector<fs::path> listFolders(const fs::path& sessions) {
    std::vector<std::pair<fs::file_time_type, fs::path>> found;
    std::error_code error;
    for (fs::directory_iterator i(sessions, error), end; !error && i != end; i.increment(error)) {
        std::error_code ignored;
        const auto used = i->last_write_time(ignored);
        if (i->symlink_status(ignored).type() == fs::file_type::directory)
            found.emplace_back(used, i->path());
    }
    std::ranges::sort(found);
    std::vector<fs::path> folders;
    for (auto& [used, folder] : found)
        folders.push_back(std::move(folder));
    return folders;
}

void removeOldFolders(const fs::path& sessions) {
    const auto folders = listFolders(sessions);
    for (std::size_t i = 0; i + mostFolders < folders.size(); ++i) {
        std::error_code error;
        fs::remove_all(folders[i], error);
        if (error) logkit1::log(logkit1::level_t::warning, folders[i].string() + ": " + error.message());
    }
}

bk2::error_code_t useFolder(const fs::path& folder) {
    const settingshub2::file_lock_t lock(folder.parent_path().string() + ".lock");
    if (lock.result().failed()) return lock.result();
    std::error_code error;
    fs::create_directories(folder, error);
    if (!error) fs::last_write_time(folder, fs::file_time_type::clock::now(), error);
    if (error) return bk2::error_code_t::failure(folder.string() + ": " + error.message());
    removeOldFolders(folder.parent_path());
    return bk2::error_code_t::success();
}

std::string userFolder(const std::string& name) {
    const std::string user = settingshub2::IProductLocations::get()->getUserDirectory();
    if (user.empty()) return {};
    const fs::path folder = fs::path(user) / "sessions" / name;
    if (const auto used = useFolder(folder); used.failed())
        logkit1::log(logkit1::level_t::warning, "The session cannot be kept: " + used.as_string());
    return folder.string();
}

} // namespace

session_folder_t findSessionFolder(const std::vector<std::string>& resultPaths) {
    using folder_t = settingshub2::IPropertyStorage::folder_t;
    std::error_code error;
    const bool isResult = resultPaths.size() == 1 && fs::is_directory(resultPaths.front(), error);
    if (!isResult) return {userFolder(nameOf(resultPaths)), folder_t::made};
    const fs::path absolute = fs::absolute(resultPaths.front(), error);
    return {error ? resultPaths.front() : absolute.string(), folder_t::must_exist};
}

} // namespace panedeck::host
