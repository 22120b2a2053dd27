#include "basekit/task_system.h"

#include "basekit/assertion.h"
#include "basekit/task_queue.h"

#include <algorithm>
#include <thread>

namespace bk2 {

struct task_system_t::queues_t {
    task_queue_t main{1};
    task_queue_t service{service_thread_count(), most_lent_places};
    task_queue_t long_tasks{1};
    task_queue_t delay_tasks{1};

    task_queue_t* find(const std::string& name) {
        if (name == queue_names::service) return &service;
        if (name == queue_names::main) return &main;
        if (name == queue_names::long_tasks) return &long_tasks;
        if (name == queue_names::delay_tasks) return &delay_tasks;
        return nullptr;
    }
};

task_system_t::task_system_t() : m_queues(std::make_unique<queues_t>()) {}

task_system_t::~task_system_t() {
    stop();
}

unsigned task_system_t::service_thread_count() {
    return std::max(2u, std::thread::hardware_concurrency());
}

std::size_t task_system_t::count_service_threads() const {
    return m_queues->service.count_threads();
}

bool task_system_t::start(const sptr_t<default_task_t>& task) {
    const task_stage_t* stage = task ? task->finalization_stage() : nullptr;
    PANEDECK_EXPECT(stage, "stage");
    if (!stage) return false;
    task_queue_t* queue = m_queues->find(stage->queue_name());
    PANEDECK_EXPECT(queue, "queue");
    if (!queue || !task->enter_queue()) return false;
    if (task->is_canceled()) {
        task->end_unstarted();
        return true;
    }
    if (queue->push(task)) return true;
    task->end_unstarted();
    return false;
}

void task_system_t::stop() {
    task_queue_t* const queues[] = {&m_queues->main, &m_queues->service, &m_queues->long_tasks,
                                    &m_queues->delay_tasks};
    for (task_queue_t* queue : queues)
        queue->stop();
    for (task_queue_t* queue : queues)
        queue->join();
}

} // namespace bk2
