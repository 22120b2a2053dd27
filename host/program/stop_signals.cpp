#include "program/stop_signals.h"

#include <csignal>
#include <pthread.h>
#include <utility>

namespace panedeck::host {

namespace {

// Wakes the thread from its waiting; without effect when it comes from elsewhere.
constexpr int endOfWaiting = SIGUSR1;

sigset_t awaitedSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, endOfWaiting);
    return signals;
}

} // namespace

StopSignals::StopSignals(std::function<void()> onStop) : m_onStop(std::move(onStop)) {
    const sigset_t signals = awaitedSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    m_thread = std::thread([this] { wait(); });
}

StopSignals::~StopSignals() {
    m_ended = true;
    pthread_kill(m_thread.native_handle(), endOfWaiting);
    m_thread.join();
}

void StopSignals::wait() {
    const sigset_t signals = awaitedSignals();
    int signal = 0;
    while (sigwait(&signals, &signal) == 0 && !m_ended)
        if (signal != endOfWaiting) m_onStop();
}

} // namespace panedeck::host
