#include "settingshub/file_operations.h"

#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace settingshub2 {

int file_operations_t::open(const char* path, int flags, mode_t mode) {
    return ::open(path, flags, mode);
}

ssize_t file_operations_t::write(int descriptor, const void* data, std::size_t size) {
    return ::write(descriptor, data, size);
}

int file_operations_t::fsync(int descriptor) {
    return ::fsync(descriptor);
}

int file_operations_t::close(int descriptor) {
    return ::close(descriptor);
}

int file_operations_t::rename(const char* from, const char* to) {
    return std::rename(from, to);
}

file_operations_t& file_operations_t::system() {
    static file_operations_t operations;
    return operations;
}

} // namespace settingshub2
