#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace panedeck::host {

/// Keeps a promise to end in time: a process that was asked to stop and is held up ends anyway.
///
/// Nothing is lost by that: the storages survive an end at any instant.
class ExitDeadline {
public:
    explicit ExitDeadline(std::chrono::milliseconds limit) : m_limit(limit) {}
    /// Calls it off.
    ~ExitDeadline();
    ExitDeadline(const ExitDeadline&) = delete;
    ExitDeadline& operator=(const ExitDeadline&) = delete;

    /// The process ends with exit code 0 once the limit has passed, unless this object goes before. Further
    /// calls change nothing.
    void start();

private:
    void wait();

    std::chrono::milliseconds m_limit;
    std::mutex m_mutex; ///< guards all below
    std::condition_variable m_calledOffChanged;
    bool m_calledOff = false;
    std::thread m_thread;
};

} // namespace panedeck::host
