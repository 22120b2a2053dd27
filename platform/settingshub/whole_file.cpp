#include "settingshub/whole_file.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <memory>
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

/// Writes a new file and flushes it; 0, or the error number of the first step that failed.
int write_flushed(file_operations_t& operations, const std::string& path, std::string_view text) {
    const int descriptor = operations.open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (descriptor < 0) return errno;
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
    const std::string fresh = path + ".new";
    int error = write_flushed(operations, fresh, text);
    if (error == 0 && operations.rename(fresh.c_str(), path.c_str()) != 0) error = errno;
    if (error != 0) {
        ::unlink(fresh.c_str());
        return file_failure(path, error);
    }
    flush_folder_of(operations, path);
    return bk2::error_code_t::success();
}

} // namespace settingshub2
