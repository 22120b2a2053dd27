#include "import/file_source.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace panedeck::engine {

FileSource::~FileSource() {
    if (m_descriptor >= 0) ::close(m_descriptor);
}

bool FileSource::fail(const char* what) {
    m_failure = std::string(what) + ": " + std::strerror(errno);
    return false;
}

bool FileSource::open(const std::string& path) {
    m_descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (m_descriptor < 0) return fail("cannot be opened");
    struct stat status {};
    if (::fstat(m_descriptor, &status) != 0) return fail("cannot be examined");
    if (S_ISDIR(status.st_mode)) {
        errno = EISDIR;
        return fail("cannot be read");
    }
    if (S_ISREG(status.st_mode)) m_size = static_cast<std::uint64_t>(status.st_size);
    return true;
}

std::size_t FileSource::read(char* buffer, std::size_t size) {
    for (;;) {
        const ssize_t count = ::read(m_descriptor, buffer, size);
        if (count >= 0) {
            m_position += static_cast<std::uint64_t>(count);
            return static_cast<std::size_t>(count);
        }
        if (errno != EINTR) {
            fail("cannot be read");
            return 0;
        }
    }
}

} // namespace panedeck::engine
