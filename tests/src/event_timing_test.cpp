#include "support/checkpoints.h"
#include "transport/ievent_batching.h"
#include "transport/ilong_polling.h"

#include <gtest/gtest.h>

#include <future>

namespace panedeck {
namespace {

using std::chrono::milliseconds;
using tests::Checkpoints;

TEST(EventBatching, ABurstIsOneCallAndALaterNotificationAnother) {
    Checkpoints calls;
    const auto batching = IEventBatching::create([&] { calls.pass("call"); }, milliseconds(1));
    for (int i = 0; i < 1000; ++i)
        batching->notify();
    calls.waitFor("call");
    batching->notify();
    calls.open("call");
    EXPECT_EQ(calls.count("call"), 1u);
    while (calls.count("call") < 2)
        batching->notify();
}

TEST(EventBatching, LettingGoWaitsForACallThatRunsAndTakesBackOneThatDoesNot) {
    Checkpoints calls;
    auto batching = IEventBatching::create([&] { calls.pass("call"); }, milliseconds(1));
    batching->notify();
    calls.waitFor("call");
    const auto gone = std::async(std::launch::async, [&] { batching.reset(); });
    EXPECT_EQ(gone.wait_for(milliseconds(20)), std::future_status::timeout);
    calls.open("call");
    gone.wait();

    batching = IEventBatching::create([&] { calls.reach("late call"); }, milliseconds(300));
    batching->notify();
    batching.reset();
    EXPECT_EQ(calls.count("late call"), 0u);
}

TEST(LongPolling, AsksUntilToldToStopOrUntilTheLimit) {
    const struct {
        milliseconds timeout;
        int stops_at;
        milliseconds least;
        int most;
    } cases[] = {{milliseconds(0), 1, milliseconds(0), 0},
                 {std::chrono::seconds(60), 3, milliseconds(2), 3},
                 {milliseconds(5), -1, milliseconds(4), 6}};
    for (const auto& expected : cases) {
        int asked = 0;
        const auto start = std::chrono::steady_clock::now();
        ILongPolling::create()->setInterval(milliseconds(1))->setTimeout(expected.timeout)->poll([&] {
            return ++asked == expected.stops_at ? 1 : 2;
        });
        EXPECT_LE(asked, expected.most);
        EXPECT_EQ(asked > 0, expected.most > 0);
        EXPECT_GE(std::chrono::steady_clock::now() - start, expected.least);
    }
}

} // namespace
} // namespace panedeck
