#include "settingshub/private_folder.h"

#include "basekit/random_text.h"

#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>
#include <vector>

namespace settingshub2 {

namespace {

constexpr unsigned name_bytes = 24;

bk2::error_code_t folder_failure(const std::string& path, const std::string& why) {
    return bk2::error_code_t::failure(path + ": " + why);
}

bk2::error_code_t system_failure(const std::string& path) {
    return folder_failure(path, std::generic_category().message(errno));
}

bool is_made_name(std::string_view name) {
    return name.size() == 2 * name_bytes &&
           name.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

/// The names in a folder, read whole, so that files may be removed meanwhile.
std::vector<std::string> names_in(int folder) {
    std::vector<std::string> names;
    const int again = ::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (again < 0) return names;
    const std::unique_ptr<DIR, int (*)(DIR*)> listing(::fdopendir(again), ::closedir);
    if (!listing) ::close(again);
    while (const dirent* entry = listing ? ::readdir(listing.get()) : nullptr)
        names.emplace_back(entry->d_name);
    return names;
}

bool was_written_before(int folder, const std::string& name, std::chrono::system_clock::time_point time) {
    struct stat state {};
    if (::fstatat(folder, name.c_str(), &state, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISREG(state.st_mode))
        return false;
    using namespace std::chrono;
    const auto written = seconds(state.st_mtim.tv_sec) + nanoseconds(state.st_mtim.tv_nsec);
    return written < time.time_since_epoch();
}

} // namespace

PrivateFolder::~PrivateFolder() {
    close();
}

PrivateFolder::PrivateFolder(PrivateFolder&& other) noexcept
    : m_path(std::move(other.m_path)), m_descriptor(std::exchange(other.m_descriptor, -1)) {}

PrivateFolder& PrivateFolder::operator=(PrivateFolder&& other) noexcept {
    std::swap(m_path, other.m_path);
    std::swap(m_descriptor, other.m_descriptor);
    return *this;
}

void PrivateFolder::close() {
    if (m_descriptor >= 0) ::close(std::exchange(m_descriptor, -1));
}

bk2::error_code_t PrivateFolder::open(const std::string& path) {
    close();
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (descriptor < 0) return system_failure(path);
    struct stat state {};
    const bool is_private = ::fstat(descriptor, &state) == 0 && state.st_uid == ::geteuid() &&
                            (state.st_mode & (S_IRWXG | S_IRWXO)) == 0;
    if (!is_private) {
        ::close(descriptor);
        return folder_failure(path, "the folder must belong to this user, with no rights for others");
    }
    m_path = path;
    m_descriptor = descriptor;
    return bk2::error_code_t::success();
}

bk2::error_code_t PrivateFolder::create_file(std::string& name) {
    name = bk2::random_hex_digits(name_bytes);
    const int file = ::openat(m_descriptor, name.c_str(),
                              O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (file < 0) return system_failure(path_of(name));
    ::close(file);
    return bk2::error_code_t::success();
}

std::string PrivateFolder::path_of(std::string_view name) const {
    return m_path + "/" + std::string(name);
}

int PrivateFolder::open_file(std::string_view name) const {
    if (!is_made_name(name)) return -1;
    // Not to wait for a writer, should it be a pipe.
    const int file =
        ::openat(m_descriptor, std::string(name).c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    struct stat state {};
    if (file < 0 || (::fstat(file, &state) == 0 && S_ISREG(state.st_mode))) return file;
    ::close(file);
    return -1;
}

void PrivateFolder::remove_file(std::string_view name) {
    if (is_made_name(name)) ::unlinkat(m_descriptor, std::string(name).c_str(), 0);
}

void PrivateFolder::remove_files_before(std::chrono::system_clock::time_point time,
                                        const std::function<bool(const std::string&)>& is_kept) {
    for (const std::string& name : names_in(m_descriptor))
        if (is_made_name(name) && !is_kept(name) && was_written_before(m_descriptor, name, time))
            remove_file(name);
}

} // namespace settingshub2
