#pragma once

// Needed by tasks: what runs, and where.

#include <functional>
#include <string>
#include <utility>

namespace bk2 {

/// A piece of a task's work, bound to the queue whose threads run it. Immutable.
class task_stage_t {
public:
    /// `queue_name` is one of the names in task_system.h.
    task_stage_t(std::string queue_name, std::function<void()> body)
        : m_queue_name(std::move(queue_name)), m_body(std::move(body)) {}

    const std::string& queue_name() const { return m_queue_name; }
    void run() const { m_body(); }

private:
    std::string m_queue_name;
    std::function<void()> m_body;
};

} // namespace bk2
