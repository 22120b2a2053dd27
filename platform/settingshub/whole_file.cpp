#include "settingshub/whole_file.h"

#include "basekit/random_text.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace settingshub2 {

namespace {

bk2::error_code_t file_failure(const std::string& path, int error) {
    return bk2::error_code_t::failure(path + ": " + std::generic_category().message(error));
}

bk2::error_code_t make_folder_of(const std::string& path) {
    const auto folder = std::filesystem::path(path).parent_path();
    if (folder.empty()) return bk2::error_code_t::success();
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    return error ? file_failure(folder.string(), error.value()) : bk2::error_code_t::success();
}

bool write_all(file_operations_t& operations, int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = operations.write(descriptor, text.data(), text.size());
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) return false;
        text.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

constexpr std::string_view new_extension = ".new";
constexpr unsigned random_digits = 16;

/// Whether `name` is a new file for `target` that a writer left.
bool is_left_over(std::string_view name, std::string_view target) {
    if (name.size() != target.size() + 1 + random_digits + new_extension.size()) return false;
    if (!name.starts_with(target) || name[target.size()] != '.' || !name.ends_with(new_extension))
        return false;
    const std::string_view digits = name.substr(target.size() + 1, random_digits);
    return digits.find_first_not_of("0123456789abcdef") == digits.npos;
}

/// Removes what writers of the path left that were killed. Writers exclude each other: none is at work.
void remove_left_overs(const std::string& path) {
    const std::filesystem::path target(path);
    const auto folder = target.has_parent_path() ? target.parent_path() : std::filesystem::path(".");
    std::error_code error;
    for (std::filesystem::directory_iterator i(folder, error), end; !error && i != end; i.increment(error))
        if (is_left_over(i->path().filename().string(), target.filename().string()))
            ::unlink(i->path().c_str());
}

/// A file that is there keeps its rights, which its user may have made narrower.
void keep_rights(const std::string& path, int descriptor) {
    struct stat old_file {};
    if (::lstat(path.c_str(), &old_file) == 0 && S_ISREG(old_file.st_mode))
        static_cast<void>(::fchmod(descriptor, old_file.st_mode & 0777));
}

/// Writes a new file that is to take the place of `target` and flushes it; 0, or the error number of the
/// first step that failed. Nobody else's file is written to, nor is a link followed.
int write_flushed(file_operations_t& operations, const std::string& path, const std::string& target,
                  std::string_view text) {
    const int descriptor =
        operations.open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
    if (descriptor < 0) return errno;
    keep_rights(target, descriptor);
    const bool flushed = write_all(operations, descriptor, text) && operations.fsync(descriptor) == 0;
    const int error = flushed ? 0 : errno;
    // Some file systems report a full disk only here.
    if (operations.close(descriptor) != 0 && error == 0) return errno;
    return error;
}

/// Makes the rename itself last. A folder that cannot be flushed is no failure: the content is whole either
/// way.
void flush_folder_of(file_operations_t& operations, const std::string& path) {
    auto folder = std::filesystem::path(path).parent_path();
    if (folder.empty()) folder = ".";
    const int descriptor = operations.open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC, 0);
    if (descriptor < 0) return;
    operations.fsync(descriptor);
    operations.close(descriptor);
}

bk2::error_code_t read_stream(std::FILE* file, const std::string& path, std::string& text,
                              std::size_t limit) {
    char block[64 * 1024];
    while (const std::size_t size = std::fread(block, 1, sizeof block, file)) {
        if (text.size() + size > limit) return file_failure(path, EFBIG);
        text.append(block, size);
    }
    return std::ferror(file) ? file_failure(path, errno) : bk2::error_code_t::success();
}

} // namespace

bk2::error_code_t read_whole_file(const std::string& path, std::string& text, std::size_t limit) {
    text.clear();
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rbe"), std::fclose);
    if (!file && errno == ENOENT) return bk2::error_code_t::nothing_done();
    if (!file) return file_failure(path, errno);
    const bk2::error_code_t result = read_stream(file.get(), path, text, limit);
    if (result.failed()) text.clear();
    return result;
}

bk2::error_code_t write_whole_file(const std::string& path, std::string_view text,
                                   file_operations_t& operations) {
    if (const auto made = make_folder_of(path); made.failed()) return made;
    remove_left_overs(path);
    const std::string fresh = path + "." + bk2::random_hex_digits(random_digits / 2) + std::string(new_extension);
    int error = write_flushed(operations, fresh, path, text);
    if (error == 0 && operations.rename(fresh.c_str(), path.c_str()) != 0) error = errno;
    if (error != 0) {
        ::unlink(fresh.c_str());
        return file_failure(path, error);
    }
    flush_folder_of(operations, path);
    return bk2::error_code_t::success();
}

} // namespace settingshub2
