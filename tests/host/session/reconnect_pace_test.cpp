#include "session/reconnect_pace.h"

#include <gtest/gtest.h>

namespace panedeck::host {
namespace {

using namespace std::chrono_literals;

/// What the client waits on its own before each attempt.
constexpr auto clientPause = 200ms;

TEST(ReconnectPace, PausesDoubleAtLeastWhileTheHostIsTurnedAwayAndNotAfterAGoodConnection) {
    ReconnectPace pace;
    ReconnectPace::time_t now{};
    const auto lose = [&](std::chrono::milliseconds standing, bool served) {
        pace.onConnected(now);
        if (served) pace.onMessage();
        return pace.onLost(now += standing);
    };
    for (const auto& [standing, served] : {std::pair(10ms, true), std::pair(40'000ms, false)}) {
        EXPECT_EQ(lose(standing, served).length, 0ms);
        auto before = 0ms;
        for (int refusal = 0; refusal < 12; ++refusal) {
            const auto hold = lose(10'000ms, false);
            const auto between = hold.length + clientPause;
            EXPECT_EQ(hold.isFirst, refusal == 0);
            EXPECT_GE(between, std::min<std::chrono::milliseconds>(2 * before, 29'000ms));
            EXPECT_LE(between, refusal == 0 ? 2'000ms : 30'000ms);
            before = between;
        }
        EXPECT_GE(before, 29'000ms);
    }
}

} // namespace
} // namespace panedeck::host
