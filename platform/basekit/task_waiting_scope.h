#pragma once

// Needed by tasks that wait for a lock, for a file or for a person.

#include "basekit/api.h"

namespace bk2 {

class task_queue_t;

/// While it lives the calling task waits for something that is not its own work, and lends the place of its
/// thread: the queue "service" runs another task meanwhile. So what one grid waits for holds up no other.
///
/// Nothing waits for the place at the end, so that the scope may lie around the taking of any lock. Scopes
/// may nest; the outermost one counts. Does nothing on a thread that is none of a task queue, nor when all
/// places that may be lent are. Costs a lock, and a thread if tasks are waiting for one: try first what is
/// likely to be had at once, as `lock_lending` does.
class PANEDECK_API task_waiting_scope_t {
public:
    task_waiting_scope_t();
    ~task_waiting_scope_t();
    task_waiting_scope_t(const task_waiting_scope_t&) = delete;
    task_waiting_scope_t& operator=(const task_waiting_scope_t&) = delete;

private:
    task_queue_t* m_queue; ///< null if nothing is lent here
};

/// Locks the mutex; a task that has to wait for it lends its place.
template <class Mutex>
void lock_lending(Mutex& mutex) {
    if (mutex.try_lock()) return;
    const task_waiting_scope_t waiting;
    mutex.lock();
}

/// The same for a shared lock.
template <class Mutex>
void lock_shared_lending(Mutex& mutex) {
    if (mutex.try_lock_shared()) return;
    const task_waiting_scope_t waiting;
    mutex.lock_shared();
}

} // namespace bk2
