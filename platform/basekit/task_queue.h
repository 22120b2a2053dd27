#pragma once

// Needed by the task system: one named queue.

#include "basekit/default_task.h"
#include "basekit/sptr.h"

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

namespace bk2 {

/// Runs tasks in the order in which they were pushed, on threads of its own, which start as tasks come. All
/// operations are safe from any thread.
///
/// A thread whose task waits may lend its place (see `task_waiting_scope_t`): then another one serves
/// meanwhile. When the waiting is over there is one thread too many for as long as its task takes; so
/// `thread_count` is what the queue comes back to, and no wait for a place adds to the task's.
class task_queue_t {
public:
    /// `most_lent`: how many places may be lent at a time.
    explicit task_queue_t(unsigned thread_count, unsigned most_lent = 0);
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

    /// Lends the place of the calling thread, which is one of the queue's, and takes it back.
    void begin_waiting();
    void end_waiting();

    /// How many threads there are at present.
    std::size_t count_threads();

    /// The queue whose thread calls; null if it is none.
    static task_queue_t* of_this_thread();

private:
    void serve();
    sptr_t<default_task_t> take();
    void put_back(const sptr_t<default_task_t>& task);

    // All of these are called under the lock.
    std::size_t wanted_threads() const;
    void start_thread_if_needed();
    void retire_this_thread();

    const unsigned m_thread_count;
    const unsigned m_most_lent;
    std::mutex m_mutex; ///< guards all below; never held while a task runs or is cancelled
    std::condition_variable m_changed;
    std::deque<sptr_t<default_task_t>> m_waiting;
    std::vector<sptr_t<default_task_t>> m_running;
    std::vector<std::thread> m_threads;
    std::vector<std::thread> m_retired; ///< have nothing more to do than to end
    std::size_t m_idle = 0;             ///< threads that wait for a task
    std::size_t m_lent = 0;             ///< threads whose task waits
    bool m_stopped = false;
};

} // namespace bk2
