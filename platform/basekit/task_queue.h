#pragma once

// Needed by the task system: one named queue.

#include "basekit/default_task.h"
#include "basekit/sptr.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

namespace bk2 {

/// Runs tasks in the order in which they were pushed, on threads of its own, which start with the first task.
/// All operations are safe from any thread.
class task_queue_t {
public:
    explicit task_queue_t(unsigned thread_count);
    /// Stops and joins.
    ~task_queue_t();
    task_queue_t(const task_queue_t&) = delete;
    task_queue_t& operator=(const task_queue_t&) = delete;

    /// False once the queue was stopped.
    bool push(const sptr_t<default_task_t>& task);

    /// Takes no more tasks and cancels those that wait or run.
    void stop();

    /// Waits until all threads have ended. Only after `stop`, and not from a thread of the queue.
    void join();

private:
    void serve();
    sptr_t<default_task_t> take();
    void put_back(const sptr_t<default_task_t>& task);

    const unsigned m_thread_count;
    std::mutex m_mutex; ///< guards all below; never held while a task runs or is cancelled
    std::condition_variable m_changed;
    std::deque<sptr_t<default_task_t>> m_waiting;
    std::vector<sptr_t<default_task_t>> m_running;
    std::vector<std::thread> m_threads;
    bool m_stopped = false;
};

} // namespace bk2
