#include "gridmodel/grid_locks.h"

#include "basekit/task_waiting_scope.h"

namespace panedeck {

void GridMutexes::lockModel() {
    bk2::lock_lending(m_model);
    m_owner.store(std::this_thread::get_id(), std::memory_order_relaxed);
}

void GridMutexes::unlockModel() {
    m_owner.store(std::thread::id(), std::memory_order_relaxed);
    m_model.unlock();
}

GridLock::GridLock(GridMutexes& mutexes) : m_mutexes(mutexes), m_nested(mutexes.isHeldHere()) {
    if (!m_nested) m_mutexes.lockModel();
}

GridLock::~GridLock() {
    if (!m_nested) m_mutexes.unlockModel();
}

GridDataLock::GridDataLock(GridMutexes& mutexes) : m_mutexes(mutexes), m_held(mutexes.isHeldHere()) {
    if (m_held) m_mutexes.unlockModel();
    bk2::lock_lending(m_mutexes.database());
}

GridDataLock::~GridDataLock() {
    m_mutexes.database().unlock();
    if (m_held) m_mutexes.lockModel();
}

} // namespace panedeck
