#include "session/reconnect_pace.h"

#include <algorithm>

namespace panedeck::host {

namespace {

using std::chrono::milliseconds;

// The client adds 200 ms to each pause: so a pause grows more than twofold for the time between two attempts
// to double at least.
constexpr milliseconds firstPause{300};
constexpr int growth = 3;
constexpr milliseconds longestPause{29'500};

/// Whoever keeps a host for so long has let it in.
constexpr milliseconds longStand{30'000};

} // namespace

void ReconnectPace::onConnected(time_t now) {
    m_connectedAt = now;
    m_served = false;
}

ReconnectPace::pause_t ReconnectPace::onLost(time_t now) {
    const bool wasGood = m_served || now - m_connectedAt >= longStand;
    if (wasGood) {
        m_last = milliseconds(0);
        return {};
    }
    const bool isFirst = m_last == milliseconds(0);
    m_last = isFirst ? firstPause : std::min(m_last * growth, longestPause);
    return {m_last, isFirst};
}

} // namespace panedeck::host
