#pragma once

#include <chrono>

namespace panedeck::cli {

/// From its making on, SIGINT and SIGTERM no longer end the program but are told here; that stays so, lest a
/// second Ctrl+C cut short the tidying up. Made before any thread; for one thread.
class StopSignals {
public:
    StopSignals();
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

    /// Whether the program was asked to stop; waits for it up to `patience`. Stays true.
    bool wait(std::chrono::milliseconds patience);

    /// The same without a wait.
    bool is_stopped() { return wait(std::chrono::milliseconds(0)); }

private:
    bool m_stopped = false;
};

} // namespace panedeck::cli
