#pragma once

// Needed by the storages, and by tests that let one step of a write fail.

#include "basekit/api.h"

#include <cstddef>
#include <sys/types.h>

namespace settingshub2 {

/// The system calls by which a file is replaced, in the form and with the results of the calls themselves (-1
/// and `errno` on failure). Tests derive from it and let the call of their choice fail.
class PANEDECK_API file_operations_t {
public:
    virtual ~file_operations_t() = default;

    virtual int open(const char* path, int flags, mode_t mode);
    virtual ssize_t write(int descriptor, const void* data, std::size_t size);
    virtual int fsync(int descriptor);
    virtual int close(int descriptor);
    virtual int rename(const char* from, const char* to);

    /// The real calls.
    static file_operations_t& system();
};

} // namespace settingshub2
