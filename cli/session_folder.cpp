#include "session_folder.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace panedeck::cli {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view name_front = "panedeck-session-";
constexpr int attempts = 10;

bk2::error_code_t failure_of(const std::string& path) {
    return bk2::error_code_t::failure(path + ": " + std::generic_category().message(errno));
}

/// The folder's lock: a descriptor, or -1 if another run holds it, or if it is no folder of this user.
int take_lock(const std::string& path) {
    const int folder = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (folder < 0) return -1;
    struct stat state {};
    const bool is_ours = ::fstat(folder, &state) == 0 && state.st_uid == ::geteuid();
    // Without a link left, another run took it for an abandoned one before it was locked.
    if (is_ours && ::flock(folder, LOCK_EX | LOCK_NB) == 0 && ::fstat(folder, &state) == 0 &&
        state.st_nlink > 0)
        return folder;
    ::close(folder);
    return -1;
}

void remove_abandoned(const fs::path& parent) {
    std::error_code error;
    for (fs::directory_iterator entry(parent, error), end; !error && entry != end; entry.increment(error)) {
        if (!entry->path().filename().string().starts_with(name_front)) continue;
        const int lock = take_lock(entry->path().string());
        if (lock < 0) continue;
        std::error_code ignored; // the next run tries again
        fs::remove_all(entry->path(), ignored);
        ::close(lock);
    }
}

} // namespace

SessionFolder::~SessionFolder() {
    remove();
}

bk2::error_code_t SessionFolder::make() {
    std::error_code error;
    const fs::path parent = fs::temp_directory_path(error);
    if (error) return bk2::error_code_t::failure("no folder for temporary files: " + error.message());
    remove_abandoned(parent);
    for (int attempt = 0; attempt < attempts && m_lock < 0; ++attempt) {
        std::string pattern = (parent / (std::string(name_front) + "XXXXXX")).string();
        if (!::mkdtemp(pattern.data())) return failure_of(pattern);
        m_lock = take_lock(pattern);
        if (m_lock >= 0)
            m_path = pattern;
        else
            ::rmdir(pattern.c_str());
    }
    if (m_lock >= 0) return bk2::error_code_t::success();
    return bk2::error_code_t::failure(parent.string() + ": a folder in it cannot be locked");
}

void SessionFolder::remove() {
    if (m_lock < 0) return;
    std::error_code ignored; // the next run tries again
    fs::remove_all(std::exchange(m_path, {}), ignored);
    ::close(std::exchange(m_lock, -1));
}

bk2::error_code_t SessionFolder::make_folder(const std::string& name, std::string& path) {
    path = m_path + "/" + name;
    return ::mkdir(path.c_str(), S_IRWXU) == 0 ? bk2::error_code_t::success() : failure_of(path);
}

bk2::error_code_t SessionFolder::write_file(const std::string& name, const std::string& text,
                                            std::string& path) {
    path = m_path + "/" + name;
    const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (file < 0) return failure_of(path);
    const bool is_whole = ::write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    const auto result = is_whole ? bk2::error_code_t::success() : failure_of(path);
    ::close(file);
    return result;
}

} // namespace panedeck::cli
