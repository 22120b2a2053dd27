#include "store/new_folder.h"

#include "basekit/random_text.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <optional>
#include <set>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace panedeck::engine {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view mark = ".importing-";
constexpr unsigned random_digits = 16;
constexpr mode_t rights = 07777;

bk2::error_code_t systemFailure(const std::string& path, int error) {
    return bk2::error_code_t::failure(fmt::format("{}: {}", path, std::strerror(error)));
}

fs::path newPathFor(const fs::path& final_place) {
    return final_place.parent_path() /
           fmt::format(".{}{}{}", final_place.filename().string(), mark, bk2::random_hex_digits(random_digits / 2));
}

/// The name of the place that a new folder is for; nothing if it is none.
std::optional<std::string> targetOf(const std::string& name) {
    const std::size_t at = name.rfind(mark);
    if (!name.starts_with('.') || at == name.npos || at < 2) return std::nullopt;
    const std::string_view digits = std::string_view(name).substr(at + mark.size());
    if (digits.size() != random_digits || digits.find_first_not_of("0123456789abcdef") != digits.npos)
        return std::nullopt;
    return name.substr(1, at - 1);
}

int openFolder(const fs::path& path) {
    return ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
}

bool takeLock(int descriptor) {
    return descriptor >= 0 && ::flock(descriptor, LOCK_EX | LOCK_NB) == 0;
}

/// Whether the path still leads to the open folder.
bool isAt(const fs::path& path, int descriptor) {
    struct stat here {};
    struct stat open {};
    return ::lstat(path.c_str(), &here) == 0 && ::fstat(descriptor, &open) == 0 &&
           here.st_dev == open.st_dev && here.st_ino == open.st_ino;
}

// A new folder holds files only: anything else is not of this program's making and keeps it alive.
void removeFilesAndFolder(const fs::path& folder, int descriptor) {
    DIR* const entries = ::fdopendir(::dup(descriptor));
    if (!entries) return;
    while (const dirent* entry = ::readdir(entries))
        ::unlinkat(descriptor, entry->d_name, 0);
    ::closedir(entries);
    if (isAt(folder, descriptor)) ::rmdir(folder.c_str());
}

// Whoever takes the lock of a folder owns it: its maker has gone, or has only just made it and will make
// another.
bool removeIfAbandoned(const fs::path& folder) {
    const int descriptor = openFolder(folder);
    const bool is_abandoned = takeLock(descriptor);
    if (is_abandoned) removeFilesAndFolder(folder, descriptor);
    if (descriptor >= 0) ::close(descriptor);
    return is_abandoned;
}

} // namespace

NewFolder::~NewFolder() {
    if (!m_path.empty()) removeFilesAndFolder(m_path, m_descriptor);
    close();
}

void NewFolder::close() {
    if (m_descriptor >= 0) ::close(m_descriptor);
    m_descriptor = -1;
    m_path.clear();
}

bk2::error_code_t NewFolder::makeBeside(const fs::path& final_place) {
    std::error_code failure;
    fs::create_directories(final_place.parent_path(), failure);
    if (failure) return systemFailure(final_place.parent_path().string(), failure.value());
    constexpr int most_tries = 100;
    int error = 0;
    for (int attempt = 0; attempt < most_tries && error == 0; ++attempt) {
        const fs::path path = newPathFor(final_place);
        if (tryToMake(path, error)) return {};
        if (error) return systemFailure(path.string(), error);
    }
    return systemFailure(final_place.string(), EEXIST);
}

// False without an error if somebody else was quicker: then another name will do.
bool NewFolder::tryToMake(const fs::path& path, int& error) {
    if (::mkdir(path.c_str(), 0777) != 0) {
        error = errno == EEXIST ? 0 : errno;
        return false;
    }
    m_path = path;
    m_descriptor = openFolder(path);
    if (m_descriptor < 0 && errno != ENOENT) {
        error = errno;
        ::rmdir(path.c_str());
    }
    struct stat status {};
    if (takeLock(m_descriptor) && isAt(path, m_descriptor) && ::fstat(m_descriptor, &status) == 0) {
        m_rights = status.st_mode & rights;
        ::fchmod(m_descriptor, m_rights & ~static_cast<mode_t>(077));
        return true;
    }
    close();
    return false;
}

bk2::error_code_t NewFolder::moveTo(const fs::path& final_place) {
    ::fchmod(m_descriptor, m_rights);
    if (::rename(m_path.c_str(), final_place.c_str()) != 0) return systemFailure(final_place.string(), errno);
    close();
    return flushToDisk(final_place.parent_path().string());
}

void NewFolder::removeAbandoned(const fs::path& parent) {
    std::vector<std::pair<fs::path, std::string>> found;
    std::error_code error;
    for (fs::directory_iterator i(parent, error), end; !error && i != end; i.increment(error))
        if (const auto target = targetOf(i->path().filename().string()))
            found.emplace_back(i->path(), *target);
    std::set<std::string> reserved;
    std::set<std::string> in_use;
    for (const auto& [folder, target] : found)
        (removeIfAbandoned(folder) ? reserved : in_use).insert(target);
    for (const std::string& target : reserved)
        if (!in_use.contains(target)) ::rmdir((parent / target).c_str()); // if it is empty
}

bk2::error_code_t flushToDisk(const std::string& path) {
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) return systemFailure(path, errno);
    const bk2::error_code_t error =
        ::fsync(descriptor) == 0 ? bk2::error_code_t() : systemFailure(path, errno);
    ::close(descriptor);
    return error;
}

} // namespace panedeck::engine
