#pragma once

#include <chrono>

namespace panedeck::host {

/// How long the host holds off after it lost a connection, on top of the client's own short pause.
///
/// A connection that carried a message, or stood for a while, was a good one: the host comes back at once.
/// One that the GUI server ended before any message was turned away, for another token, say, and calling
/// again soon would change nothing: then the pauses more than double, up to 30 s. Knows no clock of its own.
class ReconnectPace {
public:
    using time_t = std::chrono::steady_clock::time_point;

    struct pause_t {
        std::chrono::milliseconds length{0};
        bool isFirst = false; ///< the first one since a connection was good: say why, once
    };

    void onConnected(time_t now);
    void onMessage() { m_served = true; }
    pause_t onLost(time_t now);

private:
    time_t m_connectedAt{};
    bool m_served = false;
    std::chrono::milliseconds m_last{0}; ///< zero after a good connection
};

} // namespace panedeck::host
