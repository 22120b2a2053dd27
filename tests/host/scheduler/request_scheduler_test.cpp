#include "host/scheduler_fixture.h"
#include "scheduler/request_scheduler.h"

#include <malloc.h>
#include <random>

namespace panedeck::host::tests {
namespace {

TEST_F(SchedulerTest, EveryOutcomeIsOneAnswer) {
    const struct {
        const char* type;
        const char* outcome;
        const char* answer;
    } cases[] = {
        {"work:get", "", "ok"},
        {"work:get", "nothing done", "ok"},
        {"work:get", "fail", "error: IsNot.Valid.Data: bad data"},
        {"work:get", "canceled", "canceled"},
        {"work:get", "throw", "error: FailedTo.Process.This.Operation: out of luck"},
        {"work:big", "", "error: IsNot.Valid.Data: too large"},
        {"nobody:get", "", "error: IsNot.Valid.Parameter: nobody:get"},
    };
    int number = 0;
    for (const auto& expected : cases) {
        const auto id = std::to_string(++number);
        schedule(id, expected.type, {{"outcome", expected.outcome}});
        EXPECT_EQ(client->waitForAnswer(id), answers_t{expected.answer}) << expected.type << expected.outcome;
    }
    finish();
    EXPECT_EQ(client->sent().size(), std::size(cases));
}

TEST_F(SchedulerTest, CancelBeforeTheStart) {
    const auto threads = bk2::task_system_t::service_thread_count();
    for (unsigned i = 0; i < threads; ++i)
        scheduleHeld("held" + std::to_string(i), "work:get");
    schedule("1", "work:get");
    scheduler.cancelRequest("1");
    EXPECT_EQ(client->answers("1"), answers_t{"canceled"}) << "at once";
    for (unsigned i = 0; i < threads; ++i)
        checkpoints.open("held" + std::to_string(i));
    flushQueue();
    finish();
    EXPECT_FALSE(hasBegun("1"));
    EXPECT_EQ(client->answers("1"), answers_t{"canceled"});
}

TEST_F(SchedulerTest, CancelDuringTheWorkDropsWhateverComesLater) {
    for (const char* outcome : {"", "ignore cancel", "fail", "throw"}) {
        const std::string id = std::string("1") + outcome;
        scheduleHeld(id, "work:get", {{"outcome", outcome}});
        scheduler.cancelRequest(id);
        EXPECT_EQ(client->answers(id), answers_t{"canceled"}) << "at once";
        scheduler.cancelRequest(id);
        checkpoints.open(id);
    }
    finish();
    for (const char* outcome : {"", "ignore cancel", "fail", "throw"})
        EXPECT_EQ(client->answers(std::string("1") + outcome), answers_t{"canceled"}) << outcome;
}

TEST_F(SchedulerTest, OpenIdIsNotServedTwiceButAnAnsweredOneIs) {
    scheduleHeld("1", "work:get");
    schedule("1", "work:get");
    EXPECT_EQ(client->sent(),
              answers_t{"(none) error: IsNot.Valid.Parameter: A request with this id is still open: 1"});
    scheduler.cancelRequest("1"); // the first one still runs
    schedule("1", "work:get", {{"endless", ""}});
    checkpoints.open("1");
    flushQueue();
    EXPECT_EQ(client->answers("1"), answers_t{"canceled"});
    scheduler.cancelRequest("1"); // the second one is still known when the first has left
    EXPECT_EQ(client->answers("1"), (answers_t{"canceled", "canceled"}))
        << "one for each of the two requests";
}

struct displacement_case_t {
    const char* olderType;
    const char* olderGrid; ///< null: names no grid
    const char* newerType;
    const char* newerGrid;
    bool displaced;
};

class DisplacementTest : public SchedulerTest, public testing::WithParamInterface<displacement_case_t> {};

TEST_P(DisplacementTest, CancelsWhatTheTablesSayOnTheSameGridOnly) {
    const auto& expected = GetParam();
    const auto start = [&](const char* id, const char* type, const char* grid, bool held) {
        values_t values{{grid ? "gridid" : "noGrid", grid ? grid : ""}};
        if (held)
            scheduleHeld(id, type, values);
        else
            schedule(id, type, values);
    };
    start("older", expected.olderType, expected.olderGrid, true);
    start("newer", expected.newerType, expected.newerGrid, false);
    EXPECT_EQ(client->answers("older"), expected.displaced ? answers_t{"canceled"} : answers_t{});
    checkpoints.open("older");
    EXPECT_EQ(client->waitForAnswer("newer"), answers_t{"ok"});
    EXPECT_EQ(client->waitForAnswer("older"), answers_t{expected.displaced ? "canceled" : "ok"});
}

INSTANTIATE_TEST_SUITE_P(
    All, DisplacementTest,
    testing::Values(displacement_case_t{"gridview:search", "g1", "gridview:search", "g1", true},
                    displacement_case_t{"gridview:search", "g1", "gridview:search", "g2", false},
                    displacement_case_t{"gridview:scroll", "g1", "gridview:search", "g1", false},
                    displacement_case_t{"gridview:scroll", "g1", "gridview:refresh", "g1", true},
                    displacement_case_t{"gridview:refresh", "g1", "gridview:refresh", "g2", false},
                    displacement_case_t{"gridview:scroll", nullptr, "gridview:refresh", "g1", false},
                    displacement_case_t{"gridview:scroll", "g1", "gridview:refresh", nullptr, false},
                    displacement_case_t{"gridview:scroll", nullptr, "gridview:refresh", "", true},
                    displacement_case_t{"gridview:refresh", "g1", "gridview:scroll", "g1", false},
                    displacement_case_t{"gridview:refresh", "g1", "viewpoint:set", "g2", true},
                    displacement_case_t{"knob:get", nullptr, "viewpoint:set", nullptr, true},
                    displacement_case_t{"knob:get", nullptr, "viewpoint:get", nullptr, false},
                    displacement_case_t{"work:get", nullptr, "gridview:refresh", "g1", false}));

TEST_F(SchedulerTest, ExclusiveRequestWaitsForTheThreadsOfWhatItDisplaced) {
    scheduleHeld("old", "gridview:scroll", {{"gridid", "g1"}});
    schedule("new", "gridview:refresh", {{"gridid", "g1"}});
    EXPECT_EQ(client->answers("old"), answers_t{"canceled"});
    flushQueue();
    EXPECT_FALSE(hasBegun("new")) << "the old one is cancelled but has not left its thread";
    checkpoints.open("old");
    EXPECT_EQ(client->waitForAnswer("new"), answers_t{"ok"});
}

TEST_F(SchedulerTest, LaterRequestsWaitForAnExclusiveOneThatWouldDisplaceThem) {
    scheduleHeld("refresh", "gridview:refresh", {{"gridid", "g1"}});
    schedule("same grid", "gridview:scroll", {{"gridid", "g1"}});
    schedule("other grid", "gridview:scroll", {{"gridid", "g2"}});
    EXPECT_EQ(client->waitForAnswer("other grid"), answers_t{"ok"});
    flushQueue();
    EXPECT_FALSE(hasBegun("same grid"));
    checkpoints.open("refresh");
    EXPECT_EQ(client->waitForAnswer("same grid"), answers_t{"ok"});
    EXPECT_EQ(client->waitForAnswer("refresh"), answers_t{"ok"});
}

TEST_F(SchedulerTest, CanceledExclusiveRequestLetsThoseBehindItGo) {
    scheduleHeld("old", "work:get");
    schedule("set", "viewpoint:set");
    schedule("later", "work:get");
    scheduler.cancelRequest("set");
    EXPECT_EQ(client->answers("set"), answers_t{"canceled"});
    EXPECT_EQ(client->waitForAnswer("later"), answers_t{"ok"}) << "while the displaced one is still held";
    checkpoints.open("old");
    finish();
    EXPECT_FALSE(hasBegun("set"));
}

TEST_F(SchedulerTest, SettingAViewpointIsTrulyAlone) {
    scheduleHeld("a", "work:get");
    schedule("set1", "viewpoint:set");
    schedule("b", "work:get"); // waits for set1, then falls to set2
    schedule("set2", "viewpoint:set");
    schedule("c", "work:get");
    EXPECT_EQ(client->sent(), (answers_t{"a canceled", "set1 canceled", "b canceled"}));
    checkpoints.open("a");
    EXPECT_EQ(client->waitForAnswer("c"), answers_t{"ok"});
    EXPECT_EQ(client->sent(), (answers_t{"a canceled", "set1 canceled", "b canceled", "set2 ok", "c ok"}));
}

TEST_F(SchedulerTest, ChangingRequestsRunOneAtATimeInTheirOrder) {
    scheduleHeld("1", "filter:set");
    schedule("2", "knob:set");
    schedule("3", "filter:selection:apply");
    schedule("4", "filter:get");
    EXPECT_EQ(client->waitForAnswer("4"), answers_t{"ok"}) << "only changes wait";
    EXPECT_EQ(client->sent(), answers_t{"4 ok"});
    checkpoints.open("1");
    client->waitForAnswer("3");
    EXPECT_EQ(client->sent(), (answers_t{"4 ok", "1 ok", "2 ok", "3 ok"}));
}

TEST_F(SchedulerTest, BusyGridLeavesThreadsToTheOthers) {
    constexpr unsigned requests = 2 * bk2::task_system_t::most_lent_places;
    for (unsigned i = 0; i < requests; ++i)
        schedule(std::to_string(i), "gridview:scroll", {{"gridid", "busy"}, {"lend", ""}});
    schedule("other", "gridview:scroll", {{"gridid", "other"}});
    EXPECT_EQ(client->waitForAnswer("other"), answers_t{"ok"});
    checkpoints.waitFor("lent", StartOrder::mostOfOneGrid);
    EXPECT_EQ(checkpoints.count("lent"), StartOrder::mostOfOneGrid);
    checkpoints.open("lent");
    EXPECT_EQ(client->waitForAnswer(std::to_string(requests - 1)), answers_t{"ok"});
}

TEST_F(SchedulerTest, ManyWaitingRequestsCostLittleAndOneMoreIsRefused) {
    scheduleHeld("first", "filter:set");
    const auto before = ::mallinfo2().uordblks;
    for (std::size_t i = 0; i < RequestScheduler::mostWaiting; ++i)
        schedule(std::to_string(i), "filter:set");
    EXPECT_LT(::mallinfo2().uordblks - before, RequestScheduler::mostWaiting * 8'000);
    EXPECT_EQ(trySchedule("more", "work:get").as_string(),
              "FailedTo.Process.This.Operation: Too many requests wait: at most 10000 may");
    scheduler.cancelRequest("17");
    schedule("as many", "work:get");
    EXPECT_EQ(client->waitForAnswer("as many"), answers_t{"ok"});
    checkpoints.open("first");
    EXPECT_EQ(client->waitForAnswer("9999"), answers_t{"ok"});
}

TEST_F(SchedulerTest, FilterChangeCancelsWhatDependsOnTheFilter) {
    scheduleHeld("grid", "gridview:scroll", {{"filter", "f"}});
    schedule("waiting", "gridview:refresh", {{"filter", "g"}}); // waits for "grid", which it displaced
    schedule("other", "work:get", {{"filter", "f"}});
    client->waitForAnswer("other");
    scheduler.onFilterChanged("g");
    EXPECT_EQ(client->answers("waiting"), answers_t{"canceled"});
    schedule("second", "gridview:scroll", {{"filter", "f"}, {"gridid", "g2"}, {"endless", ""}});
    scheduler.onFilterChanged("none");
    EXPECT_TRUE(client->answers("second").empty());
    scheduler.onFilterChanged("f");
    EXPECT_EQ(client->answers("second"), answers_t{"canceled"});
    checkpoints.open("grid");
    finish();
    EXPECT_FALSE(hasBegun("waiting"));
    EXPECT_EQ(client->answers("other"), answers_t{"ok"});
}

TEST_F(SchedulerTest, StopAnswersWhatRunsAndWhatWaits) {
    scheduleHeld("running", "gridview:scroll", {{"gridid", "g"}});
    schedule("waiting", "gridview:refresh", {{"gridid", "g"}});
    schedule("behind", "gridview:scroll", {{"gridid", "g"}});
    scheduler.stop();
    EXPECT_EQ(client->sent(), (answers_t{"running canceled", "waiting canceled", "behind canceled"}));
    EXPECT_EQ(trySchedule("late", "work:get").as_string(),
              "FailedTo.Process.This.Operation: The host is stopping");
    checkpoints.open("running");
    tasks.stop();
    EXPECT_EQ(client->sent().size(), 3u);
    EXPECT_FALSE(hasBegun("waiting") || hasBegun("behind") || hasBegun("late"));
}

TEST_F(SchedulerTest, TaskSystemThatStoppedFirstLeavesNoRequestUnanswered) {
    tasks.stop();
    schedule("1", "work:get");
    EXPECT_EQ(client->answers("1"), answers_t{"canceled"});
}

TEST_F(SchedulerTest, AbandonedRequestsAreNotAnsweredAndChangesRunToTheirEnd) {
    schedule("reading", "work:get", {{"endless", ""}});
    checkpoints.waitFor("reading");
    scheduleHeld("setting", "filter:set");
    scheduler.abandonRequests();
    schedule("setting", "filter:get"); // its id is free again
    checkpoints.open("setting");
    EXPECT_EQ(client->waitForAnswer("setting"), answers_t{"ok"});
    checkpoints.waitFor("end of setting", 2);
    finish();
    EXPECT_EQ(client->sent(), answers_t{"setting ok"});
    EXPECT_TRUE(wasStopped("reading"));
    EXPECT_FALSE(wasStopped("setting"));
}

// Many requests of all kinds, cancelled and displaced at random from two threads: whatever meets whatever,
// each id is answered once.
TEST_F(SchedulerTest, EveryIdIsAnsweredOnceUnderLoad) {
    constexpr int requests = 400;
    const char* const types[] = {"gridview:scroll", "gridview:refresh", "gridview:search", "filter:set",
                                 "work:get",        "work:big",         "viewpoint:set"};
    std::thread canceler([&] {
        std::mt19937 random(7);
        for (int i = 0; i < 3 * requests; ++i) {
            scheduler.cancelRequest(std::to_string(random() % requests));
            if (i % 50 == 0) scheduler.onFilterChanged("f");
        }
    });
    std::mt19937 random(42);
    for (int i = 0; i < requests; ++i)
        schedule(std::to_string(i), types[random() % std::size(types)],
                 {{"gridid", random() % 2 ? "g1" : "g2"}, {"filter", "f"}});
    canceler.join();
    for (int i = 0; i < requests; ++i)
        client->waitForAnswer(std::to_string(i));
    finish();
    for (int i = 0; i < requests; ++i)
        EXPECT_EQ(client->answers(std::to_string(i)).size(), 1u) << i;
}

} // namespace
} // namespace panedeck::host::tests
