#pragma once

// Needed by the storages: two programs may share the user's folder.

#include "basekit/api.h"
#include "basekit/error_code.h"

#include <chrono>
#include <string>

namespace settingshub2 {

/// Holds a lock file for the length of a scope, against other threads and other programs alike. The system
/// lets go when the holder dies, so a killed program never leaves a lock behind; the empty file stays.
class PANEDECK_API file_lock_t {
public:
    /// Takes the lock, waiting up to `patience` for another holder. `result()` tells whether it is held.
    explicit file_lock_t(const std::string& path,
                         std::chrono::milliseconds patience = std::chrono::seconds(10));
    ~file_lock_t();
    file_lock_t(const file_lock_t&) = delete;
    file_lock_t& operator=(const file_lock_t&) = delete;

    /// Success while the lock is held; else a failure that names the file and the reason.
    const bk2::error_code_t& result() const { return m_result; }

private:
    bk2::error_code_t take(const std::string& path, std::chrono::milliseconds patience);

    int m_descriptor = -1;
    bk2::error_code_t m_result;
};

} // namespace settingshub2
