#include "settingshub/file_lock.h"

#include "basekit/task_waiting_scope.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <optional>
#include <sys/file.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace settingshub2 {

namespace {

constexpr std::chrono::milliseconds retry_pause{5};

bk2::error_code_t lock_failure(const std::string& path, int error) {
    return bk2::error_code_t::failure(path + ": " + std::generic_category().message(error));
}

} // namespace

file_lock_t::file_lock_t(const std::string& path, std::chrono::milliseconds patience)
    : m_result(take(path, patience)) {}

file_lock_t::~file_lock_t() {
    if (m_descriptor >= 0) ::close(m_descriptor);
}

bk2::error_code_t file_lock_t::take(const std::string& path, std::chrono::milliseconds patience) {
    std::error_code error;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path(), error);
    if (error) return lock_failure(path, error.value());
    m_descriptor = ::open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0666);
    if (m_descriptor < 0) return lock_failure(path, errno);

    // A blocking wait could last for ever behind a stopped program, on a thread that others need.
    const auto deadline = std::chrono::steady_clock::now() + patience;
    std::optional<bk2::task_waiting_scope_t> waiting;
    while (::flock(m_descriptor, LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK && errno != EINTR) return lock_failure(path, errno);
        if (std::chrono::steady_clock::now() >= deadline) {
            return bk2::error_code_t::failure(path + ": another program holds the lock");
        }
        if (!waiting) waiting.emplace();
        std::this_thread::sleep_for(retry_pause);
    }
    return bk2::error_code_t::success();
}

} // namespace settingshub2
