#include "stop_signals.h"

#include <csignal>
#include <ctime>

namespace panedeck::cli {

namespace {

sigset_t stop_signals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    return signals;
}

} // namespace

StopSignals::StopSignals() {
    const sigset_t signals = stop_signals();
    ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

bool StopSignals::wait(std::chrono::milliseconds patience) {
    if (m_stopped) return true;
    const sigset_t signals = stop_signals();
    const auto nanoseconds = std::chrono::duration_cast<std::chrono::nanoseconds>(patience).count();
    const timespec limit{static_cast<time_t>(nanoseconds / 1'000'000'000),
                         static_cast<long>(nanoseconds % 1'000'000'000)};
    m_stopped = ::sigtimedwait(&signals, nullptr, &limit) > 0;
    return m_stopped;
}

} // namespace panedeck::cli
