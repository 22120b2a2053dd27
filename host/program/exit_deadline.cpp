#include "program/exit_deadline.h"

#include <cstdlib>

namespace panedeck::host {

ExitDeadline::~ExitDeadline() {
    {
        const std::lock_guard lock(m_mutex);
        m_calledOff = true;
    }
    m_calledOffChanged.notify_all();
    if (m_thread.joinable()) m_thread.join();
}

void ExitDeadline::start() {
    const std::lock_guard lock(m_mutex);
    if (!m_calledOff && !m_thread.joinable()) m_thread = std::thread([this] { wait(); });
}

void ExitDeadline::wait() {
    std::unique_lock lock(m_mutex);
    // No destructors: what holds the process up would hold them up as well.
    if (!m_calledOffChanged.wait_for(lock, m_limit, [this] { return m_calledOff; })) std::_Exit(0);
}

} // namespace panedeck::host
