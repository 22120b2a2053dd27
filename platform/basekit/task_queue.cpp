#include "basekit/task_queue.h"

#include <algorithm>

namespace bk2 {

task_queue_t::task_queue_t(unsigned thread_count) : m_thread_count(thread_count) {}

task_queue_t::~task_queue_t() {
    stop();
    join();
}

bool task_queue_t::push(const sptr_t<default_task_t>& task) {
    std::lock_guard lock(m_mutex);
    if (m_stopped) return false;
    m_waiting.push_back(task);
    while (m_threads.size() < m_thread_count)
        m_threads.emplace_back([this] { serve(); });
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
    {
        std::lock_guard lock(m_mutex);
        threads.swap(m_threads);
    }
    for (auto& thread : threads)
        thread.join();
}

void task_queue_t::serve() {
    while (const auto task = take()) {
        task->run();
        put_back(task);
    }
}

sptr_t<default_task_t> task_queue_t::take() {
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_stopped || !m_waiting.empty(); });
    if (m_stopped) return {};
    auto task = std::move(m_waiting.front());
    m_waiting.pop_front();
    m_running.push_back(task);
    return task;
}

void task_queue_t::put_back(const sptr_t<default_task_t>& task) {
    std::lock_guard lock(m_mutex);
    m_running.erase(std::find(m_running.begin(), m_running.end(), task));
}

} // namespace bk2
