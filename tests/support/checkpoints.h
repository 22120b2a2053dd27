#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <string>

namespace panedeck::tests {

/// Named places that threads of a test reach, wait for and are held at, in place of pauses. A wait that never
/// ends fails the test after a minute instead of hanging it.
class Checkpoints {
public:
    /// Counts an arrival at the checkpoint.
    void reach(const std::string& name) {
        std::lock_guard lock(m_mutex);
        ++m_counts[name];
        m_changed.notify_all();
    }

    /// Counts an arrival and holds the thread there until the checkpoint is open.
    void pass(const std::string& name) {
        reach(name);
        std::unique_lock lock(m_mutex);
        wait(lock, name, [&] { return m_open[name]; });
    }

    /// Lets everybody through who is or will be held at the checkpoint.
    void open(const std::string& name) {
        std::lock_guard lock(m_mutex);
        m_open[name] = true;
        m_changed.notify_all();
    }

    /// Returns when the checkpoint has been reached `times` times.
    void waitFor(const std::string& name, unsigned times = 1) {
        std::unique_lock lock(m_mutex);
        wait(lock, name, [&] { return m_counts[name] >= times; });
    }

    unsigned count(const std::string& name) {
        std::lock_guard lock(m_mutex);
        return m_counts[name];
    }

private:
    template <class Condition>
    void wait(std::unique_lock<std::mutex>& lock, const std::string& name, Condition condition) {
        if (!m_changed.wait_for(lock, std::chrono::minutes(1), condition))
            ADD_FAILURE() << "stuck at " << name;
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::map<std::string, unsigned> m_counts;
    std::map<std::string, bool> m_open;
};

} // namespace panedeck::tests
