#include "basekit/task_system.h"
#include "basekit/task_waiting_scope.h"
#include "support/checkpoints.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <set>
#include <thread>
#include <vector>

using bk2::default_task_t;
using bk2::sptr_t;
using bk2::task_system_t;
using panedeck::tests::Checkpoints;

namespace {

sptr_t<default_task_t> makeTask(const char* queue, std::function<void()> body) {
    auto task = bk2::make_sptr<default_task_t>();
    task->push_finalization_stage(std::make_unique<bk2::task_stage_t>(queue, std::move(body)));
    task->set_flags(bk2::tf_run_once);
    return task;
}

/// Keeps every thread of "service" busy until it is told to let go.
class BusyService {
public:
    explicit BusyService(task_system_t& tasks) {
        for (unsigned i = 0; i < task_system_t::service_thread_count(); ++i)
            tasks.start(makeTask(bk2::queue_names::service, [held = m_held] { held->pass("busy"); }));
        m_held->waitFor("busy", task_system_t::service_thread_count());
    }
    void letGo() { m_held->open("busy"); }

private:
    std::shared_ptr<Checkpoints> m_held =
        std::make_shared<Checkpoints>(); ///< shared with the tasks, which may outlive it
};

struct FinishCounter : bk2::subscriber_base_t {
    ~FinishCounter() { disconnect_all(); }
    void watch(default_task_t& task) {
        task.finished().connect(*this, [this] { checkpoints.reach("finished"); });
    }
    Checkpoints checkpoints;
};

TEST(TaskSystem, EveryNamedQueueRunsItsStageOnAThreadOfItsOwn) {
    std::set<std::thread::id> threads{std::this_thread::get_id()};
    task_system_t tasks;
    for (const char* queue : {bk2::queue_names::main, bk2::queue_names::service, bk2::queue_names::long_tasks,
                              bk2::queue_names::delay_tasks}) {
        std::thread::id ran;
        FinishCounter counter;
        auto task = makeTask(queue, [&] { ran = std::this_thread::get_id(); });
        counter.watch(*task);
        ASSERT_TRUE(tasks.start(task)) << queue;
        counter.checkpoints.waitFor("finished");
        EXPECT_TRUE(threads.insert(ran).second) << queue;
        EXPECT_TRUE(task->is_finished());
    }
}

TEST(TaskSystem, TaskThatWaitsLendsItsPlaceUpToABound) {
    constexpr unsigned lent = task_system_t::most_lent_places;
    const unsigned threads = task_system_t::service_thread_count();
    Checkpoints checkpoints;
    task_system_t tasks;
    for (unsigned i = 0; i < threads + lent; ++i)
        tasks.start(makeTask(bk2::queue_names::service, [&] {
            const bk2::task_waiting_scope_t waiting, nested;
            checkpoints.pass("waiting");
        }));
    checkpoints.waitFor("waiting", threads + lent);
    tasks.start(makeTask(bk2::queue_names::service, [&] { checkpoints.reach("one more"); }));
    EXPECT_EQ(tasks.count_service_threads(), threads + lent);
    EXPECT_EQ(checkpoints.count("one more"), 0u);
    checkpoints.open("waiting");
    checkpoints.waitFor("one more");
    while (tasks.count_service_threads() > threads)
        std::this_thread::yield();
}

TEST(TaskSystem, TaskCanceledInTheQueueEndsAtOnceAndNeverRuns) {
    std::atomic<bool> ran{false};
    FinishCounter counter;
    task_system_t tasks;
    BusyService busy(tasks);
    auto task = makeTask(bk2::queue_names::service, [&] { ran = true; });
    counter.watch(*task);
    ASSERT_TRUE(tasks.start(task));
    task->cancel();
    EXPECT_TRUE(task->is_finished());
    EXPECT_EQ(counter.checkpoints.count("finished"), 1u);
    busy.letGo();
    tasks.stop();
    EXPECT_FALSE(ran);
    EXPECT_EQ(counter.checkpoints.count("finished"), 1u);
}

TEST(TaskSystem, TaskCanceledBeforeItIsStartedNeverRuns) {
    bool ran = false;
    FinishCounter counter;
    task_system_t tasks;
    auto task = makeTask(bk2::queue_names::service, [&] { ran = true; });
    counter.watch(*task);
    task->cancel();
    EXPECT_FALSE(task->is_finished());
    EXPECT_TRUE(tasks.start(task));
    EXPECT_TRUE(task->is_finished());
    tasks.stop();
    EXPECT_FALSE(ran);
    EXPECT_EQ(counter.checkpoints.count("finished"), 1u);
}

TEST(TaskSystem, RunningTaskSeesItsCancelAndFinishesOnce) {
    Checkpoints checkpoints;
    FinishCounter counter;
    task_system_t tasks;
    default_task_t* running = nullptr;
    auto task = makeTask(bk2::queue_names::service, [&] {
        checkpoints.pass("running");
        EXPECT_TRUE(running->is_canceled());
    });
    running = task.get();
    counter.watch(*task);
    tasks.start(task);
    checkpoints.waitFor("running");
    task->cancel();
    EXPECT_FALSE(task->is_finished());
    checkpoints.open("running");
    tasks.stop();
    EXPECT_EQ(counter.checkpoints.count("finished"), 1u);
}

TEST(TaskSystem, RefusesWhatCannotRun) {
    task_system_t tasks;
    int runs = 0;
    EXPECT_FALSE(tasks.start(nullptr));
    EXPECT_FALSE(tasks.start(bk2::make_sptr<default_task_t>())) << "no stage";
    EXPECT_FALSE(tasks.start(makeTask("no such queue", [&] { ++runs; })));
    auto once = makeTask(bk2::queue_names::main, [&] { ++runs; });
    EXPECT_TRUE(tasks.start(once));
    tasks.stop();
    const int before = runs;
    EXPECT_FALSE(tasks.start(once)) << "a second time";
    FinishCounter counter;
    auto late = makeTask(bk2::queue_names::main, [&] { ++runs; });
    counter.watch(*late);
    EXPECT_FALSE(tasks.start(late)) << "stopped";
    EXPECT_EQ(counter.checkpoints.count("finished"), 1u);
    EXPECT_EQ(runs, before);
}

TEST(TaskSystem, StopCancelsWhatRunsAndWhatWaits) {
    Checkpoints checkpoints;
    std::atomic<int> ran{0};
    auto tasks = std::make_unique<task_system_t>();
    std::vector<sptr_t<default_task_t>> all;
    for (unsigned i = 0; i < task_system_t::service_thread_count() + 5; ++i) {
        all.push_back(bk2::make_sptr<default_task_t>());
        default_task_t* task = all.back().get();
        task->push_finalization_stage(
            std::make_unique<bk2::task_stage_t>(bk2::queue_names::service, [&, task] {
                ++ran;
                checkpoints.reach("running");
                while (!task->is_canceled())
                    std::this_thread::yield();
            }));
        tasks->start(all.back());
    }
    checkpoints.waitFor("running", task_system_t::service_thread_count());
    tasks->stop();
    EXPECT_EQ(ran, static_cast<int>(task_system_t::service_thread_count()));
    for (const auto& task : all)
        EXPECT_TRUE(task->is_canceled() && task->is_finished());
    tasks->stop();
}

// Cancel and start race for each task; whoever wins, the task ends exactly once and a counted run is a whole
// one.
TEST(TaskSystem, CancelRacesWithStart) {
    constexpr int rounds = 2000;
    std::atomic<int> ran{0};
    FinishCounter counter;
    task_system_t tasks;
    for (int i = 0; i < rounds; ++i) {
        auto task = makeTask(bk2::queue_names::service, [&] { ++ran; });
        counter.watch(*task);
        tasks.start(task);
        task->cancel();
    }
    counter.checkpoints.waitFor("finished", rounds);
    tasks.stop();
    EXPECT_EQ(counter.checkpoints.count("finished"), static_cast<unsigned>(rounds));
    EXPECT_LE(ran, rounds);
}

} // namespace
