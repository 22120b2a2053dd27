#include "basekit/task_system.h"
#include "dispatch/request_task.h"
#include "support/checkpoints.h"
#include "support/log_capture.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <thread>

namespace panedeck {
namespace {

using bk2::error_code_t;
using bk2::variant_bag_t;
using tests::Checkpoints;
using tests::LogCapture;

/// The host's side: notes what it is given and answers as told.
struct Host : ITaskRequestHandler {
    error_code_t handleTaskRequest(const char* requestId, const char* requestType, variant_bag_t& request,
                                   notifykit2::IProgress*) override {
        id = requestId ? std::optional<std::string>(requestId) : std::nullopt;
        type = requestType;
        thread = std::this_thread::get_id();
        parameter = std::string(request.get_variant("key").text());
        ++calls;
        return answer;
    }
    error_code_t reportTaskError(const char* requestId, const error_code_t& error) override {
        reported = std::string(requestId) + " " + error.as_string();
        return error_code_t::success();
    }

    error_code_t answer;
    int calls = 0;
    std::optional<std::string> id;
    std::string type, parameter, reported;
    std::thread::id thread;
};

bk2::sptr_t<RequestTask> makeTask(const char* requestId, Host* host) {
    variant_bag_t request;
    request.put("key", bk2::variant_t("value"));
    auto task = bk2::make_sptr<RequestTask>("a:b:,f,", requestId, "a:b", &request, host);
    EXPECT_TRUE(request.is_empty()) << "the request is taken";
    return task;
}

struct Finish : bk2::subscriber_base_t {
    explicit Finish(RequestTask& task) {
        task.finished().connect(*this, [this] { checkpoints.reach("finished"); });
    }
    ~Finish() { disconnect_all(); }
    Checkpoints checkpoints;
};

void run(const bk2::sptr_t<RequestTask>& task) {
    bk2::task_system_t tasks;
    Finish finish(*task);
    ASSERT_TRUE(tasks.start(task));
    finish.checkpoints.waitFor("finished");
}

TEST(RequestTask, HandsTheRequestOverOnAThreadOfService) {
    Host host;
    const auto task = makeTask("17", &host);
    EXPECT_EQ(task->finalization_stage()->queue_name(), "service");
    EXPECT_EQ(task->get_display_name(), "a:b:,f,");
    EXPECT_EQ(task->flags(), 1u);
    run(task);
    EXPECT_EQ(host.id, "17");
    EXPECT_EQ(host.type, "a:b");
    EXPECT_EQ(host.parameter, "value");
    EXPECT_NE(host.thread, std::this_thread::get_id());
    EXPECT_EQ(host.reported, "");
}

TEST(RequestTask, FailureIsReportedOnlyUnderAnId) {
    const struct {
        const char* id;
        error_code_t answer;
        const char* reported;
    } cases[] = {
        {"17", error_code_t::raise("FailedTo.X", "why"), "17 FailedTo.X: why"},
        {"17", error_code_t::nothing_done(), ""},
        {"", error_code_t::raise("FailedTo.X", "why"), ""},
        {nullptr, error_code_t::raise("FailedTo.X", "why"), ""},
    };
    for (const auto& expected : cases) {
        Host host;
        host.answer = expected.answer;
        run(makeTask(expected.id, &host));
        EXPECT_EQ(host.calls, 1);
        EXPECT_EQ(host.id.has_value(), expected.id && *expected.id) << "an empty id is handed over as null";
        EXPECT_EQ(host.reported, expected.reported);
    }
}

TEST(RequestTask, MissingHandlerOrBagIsLogged) {
    LogCapture log;
    run(makeTask("17", nullptr));
    EXPECT_EQ(log.count("m_requestHandler, at file: "), 1);
    Host host;
    run(bk2::make_sptr<RequestTask>("a:b", "17", "a:b", nullptr, &host));
    EXPECT_EQ(log.count("requestBag, at file: "), 1);
    EXPECT_EQ(host.calls, 1);
}

} // namespace
} // namespace panedeck
