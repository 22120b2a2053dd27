#pragma once

#include <atomic>
#include <functional>
#include <thread>

namespace panedeck::host {

/// Waits for SIGTERM and SIGINT on a thread of its own, so that what they set off may lock and log.
///
/// To be made before any other thread: it blocks both signals for the whole process, as threads inherit that
/// from the one that makes them.
class StopSignals {
public:
    /// `onStop` is called on that thread, once for each signal.
    explicit StopSignals(std::function<void()> onStop);
    /// Ends the thread. The signals stay blocked: one that comes now has nothing more to stop.
    ~StopSignals();
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

private:
    void wait();

    std::function<void()> m_onStop;
    std::atomic<bool> m_ended{false};
    std::thread m_thread;
};

} // namespace panedeck::host
