#include "basekit/task_waiting_scope.h"

#include "basekit/task_queue.h"

namespace bk2 {

namespace {

thread_local bool is_lending = false;

} // namespace

task_waiting_scope_t::task_waiting_scope_t()
    : m_queue(is_lending ? nullptr : task_queue_t::of_this_thread()) {
    if (!m_queue) return;
    is_lending = true;
    m_queue->begin_waiting();
}

task_waiting_scope_t::~task_waiting_scope_t() {
    if (!m_queue) return;
    m_queue->end_waiting();
    is_lending = false;
}

} // namespace bk2
