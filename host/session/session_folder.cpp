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

std::string makeUserFolder(const std::string& name) {
    const std::string user = settingshub2::IProductLocations::get()->getUserDirectory();
    if (user.empty()) return {};
    const fs::path sessions = fs::path(user) / "sessions";
    const fs::path folder = sessions / name;
    const settingshub2::file_lock_t lock(sessions.string() + ".lock");
    std::error_code error;
    if (lock.result().succeeded()) fs::create_directories(folder, error);
    if (!error && lock.result().succeeded())
        fs::last_write_time(folder, fs::file_time_type::clock::now(), error);
    if (error || lock.result().failed()) {
        const std::string why = error ? folder.string() + ": " + error.message() : lock.result().as_string();
        logkit1::log(logkit1::level_t::warning, "The session cannot be kept: " + why);
        return {};
    }
    removeOldFolders(sessions);
    return folder.string();
}

} // namespace

std::string findSessionFolder(const std::vector<std::string>& resultPaths) {
    std::error_code error;
    const bool isResult = resultPaths.size() == 1 && fs::is_directory(resultPaths.front(), error);
    if (!isResult) return makeUserFolder(nameOf(resultPaths));
    const fs::path absolute = fs::absolute(resultPaths.front(), error);
    return error ? resultPaths.front() : absolute.string();
}

} // namespace panedeck::host
