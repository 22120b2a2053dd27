#include "import/file_source.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace panedeck::engine {

namespace {

constexpr int milliseconds_between_polls = 50;

} // namespace

FileSource::~FileSource() {
    if (m_is_own) ::close(m_descriptor);
}

bool FileSource::fail(const char* what) {
    m_failure = std::string(what) + ": " + std::strerror(errno);
    return false;
}

// Opening a FIFO would wait until somebody opens it for writing; reading then waits instead.
bool FileSource::open(const std::string& path) {
    m_descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (m_descriptor < 0) return fail("cannot be opened");
    m_is_own = true;
    return examine();
}

bool FileSource::use(int descriptor) {
    m_descriptor = descriptor;
    return examine();
}

bool FileSource::examine() {
    struct stat status {};
    if (::fstat(m_descriptor, &status) != 0) return fail("cannot be examined");
    if (S_ISDIR(status.st_mode)) {
        errno = EISDIR;
        return fail("cannot be read");
    }
    m_may_wait = !S_ISREG(status.st_mode);
    if (!m_may_wait) m_size = static_cast<std::uint64_t>(status.st_size);
    return true;
}

// A failed poll lets the read say what is wrong.
bool FileSource::waitForInput() const {
    while (!notifykit2::is_canceled(m_progress)) {
        pollfd readable{m_descriptor, POLLIN, 0};
        if (!m_may_wait || ::poll(&readable, 1, milliseconds_between_polls) != 0) return true;
    }
    return false;
}

std::size_t FileSource::read(char* buffer, std::size_t size) {
    while (waitForInput()) {
        const ssize_t count = ::read(m_descriptor, buffer, size);
        if (count >= 0) {
            m_position += static_cast<std::uint64_t>(count);
            return static_cast<std::size_t>(count);
        }
        if (errno == EINTR || errno == EAGAIN) continue;
        fail("cannot be read");
        break;
    }
    return 0;
}

} // namespace panedeck::engine
