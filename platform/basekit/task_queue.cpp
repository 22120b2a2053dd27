#include "basekit/task_queue.h"

#include <algorithm>

namespace bk2 {

namespace {

thread_local task_queue_t* served_queue = nullptr;

} // namespace

task_queue_t::task_queue_t(unsigned thread_count, unsigned most_lent)
    : m_thread_count(thread_count), m_most_lent(most_lent) {}

task_queue_t::~task_queue_t() {
    stop();
    join();
}

bool task_queue_t::push(const sptr_t<default_task_t>& task) {
    std::lock_guard lock(m_mutex);
    if (m_stopped) return false;
    m_waiting.push_back(task);
    start_thread_if_needed();
    m_changed.notify_one();
    return true;
}

void task_queue_t::stop() {
    std::vector<sptr_t<default_task_t>> held;
    {
        std::lock_guard lock(m_mutex);
        m_stopped = true;
        held = m_running;
        held.insert(held.end(), m_waiting.begin(), m_waiting.end());
        m_waiting.clear();
    }
    m_changed.notify_all();
    for (const auto& task : held)
        task->cancel();
}

void task_queue_t::join() {
    std::vector<std::thread> threads;
    std::vector<std::thread> retired;
    {
        std::lock_guard lock(m_mutex);
        threads.swap(m_threads);
        retired.swap(m_retired);
    }
    for (auto& thread : threads)
        thread.join();
    for (auto& thread : retired)
        thread.join();
}

void task_queue_t::begin_waiting() {
    std::lock_guard lock(m_mutex);
    ++m_lent;
    start_thread_if_needed();
}

void task_queue_t::end_waiting() {
    std::lock_guard lock(m_mutex);
    --m_lent;
    // An idle thread may be one too many now.
    m_changed.notify_one();
}

std::size_t task_queue_t::count_threads() {
    std::lock_guard lock(m_mutex);
    return m_threads.size();
}

task_queue_t* task_queue_t::of_this_thread() {
    return served_queue;
}

std::size_t task_queue_t::wanted_threads() const {
    return m_thread_count + std::min<std::size_t>(m_lent, m_most_lent);
}

void task_queue_t::start_thread_if_needed() {
    if (m_stopped || m_waiting.size() <= m_idle || m_threads.size() >= wanted_threads()) return;
    // They have ended, or will without a lock.
    for (auto& thread : m_retired)
        thread.join();
    m_retired.clear();
    m_threads.emplace_back([this] { serve(); });
}

void task_queue_t::serve() {
    served_queue = this;
    while (const auto task = take()) {
        task->run();
        put_back(task);
    }
}

/// Null if the calling thread is to end.
sptr_t<default_task_t> task_queue_t::take() {
    std::unique_lock lock(m_mutex);
    const auto is_one_too_many = [this] { return m_threads.size() > wanted_threads(); };
    ++m_idle;
    m_changed.wait(lock, [&] { return m_stopped || !m_waiting.empty() || is_one_too_many(); });
    --m_idle;
    if (m_stopped) return {};
    if (is_one_too_many()) {
        retire_this_thread();
        return {};
    }
    auto task = std::move(m_waiting.front());
    m_waiting.pop_front();
    m_running.push_back(task);
    return task;
}

void task_queue_t::retire_this_thread() {
    const auto self = std::find_if(m_threads.begin(), m_threads.end(), [](const std::thread& thread) {
        return thread.get_id() == std::this_thread::get_id();
    });
    m_retired.push_back(std::move(*self));
    m_threads.erase(self);
    // What woke this thread may have been meant for another one.
    m_changed.notify_one();
}

void task_queue_t::put_back(const sptr_t<default_task_t>& task) {
    std::lock_guard lock(m_mutex);
    m_running.erase(std::find(m_running.begin(), m_running.end(), task));
}

} // namespace bk2
