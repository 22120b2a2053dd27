#pragma once

#include "basekit/ref_counted.h"
#include "basekit/task_system.h"
#include "basekit/task_waiting_scope.h"
#include "dispatch/irequest_dispatcher.h"
#include "dispatch/request_type.h"
#include "dispatch/task_displacement_map.h"
#include "scheduler/request_scheduler.h"
#include "support/checkpoints.h"
#include "transport/isocket_client.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace panedeck::host::tests {

using bk2::error_code_t;
using bk2::variant_bag_t;
using bk2::variant_t;
using panedeck::tests::Checkpoints;

/// Keeps what is sent, as "ID ANSWER" for responses and "event NAME" for events, in place of a connection.
/// Answers are "canceled", "error: TEXT" or "ok". Responses of the operation "big" are refused as too large.
class FakeClient : public bk2::ref_counted_t<FakeClient, bk2::mt_ref_count_impl_t, ISocketClient> {
public:
    error_code_t connectToServer(const char*, unsigned short, const char*, variant_bag_t*) override {
        return {};
    }
    error_code_t closeConnection() override { return {}; }

    error_code_t sendResponse(const char* requestId, const char* type, variant_bag_t*) override {
        if (splitRequestType(type).operation == "big")
            return error_code_t::raise(bk2::kinds::is_not_valid_data, "too large");
        return keep(requestId, "ok");
    }
    error_code_t sendErrorResponse(const char* requestId, const error_code_t& error) override {
        return keep(requestId, "error: " + error.as_string());
    }
    error_code_t notifyRequestCancel(const char* requestId) override { return keep(requestId, "canceled"); }
    error_code_t sendEvent(const char* name, const variant_bag_t*) override { return keep("event", name); }

    /// Returns when the id has been answered; gives all its answers.
    std::vector<std::string> waitForAnswer(const std::string& requestId) {
        m_checkpoints.waitFor(requestId);
        return answers(requestId);
    }

    std::vector<std::string> answers(const std::string& requestId) {
        std::vector<std::string> found;
        for (const auto& line : sent())
            if (line.starts_with(requestId + " ")) found.push_back(line.substr(requestId.size() + 1));
        return found;
    }

    std::vector<std::string> sent() {
        std::lock_guard lock(m_mutex);
        return m_sent;
    }

private:
    error_code_t keep(const char* requestId, const std::string& answer) {
        const std::string id = requestId ? requestId : "(none)";
        {
            std::lock_guard lock(m_mutex);
            m_sent.push_back(id + " " + answer);
        }
        m_checkpoints.reach(id);
        return error_code_t::success();
    }

    std::mutex m_mutex;
    std::vector<std::string> m_sent;
    Checkpoints m_checkpoints;
};

/// Names tasks by request type and filter, and displaces as the real strategies do, for all domains of the
/// tests.
class FakeStrategy : public ITaskDisplacementStrategy {
public:
    std::string buildTaskName(const std::string& requestType, const variant_bag_t& request) override {
        const auto filter = request.get_variant("filter");
        return requestType + ":," + std::string(filter.text()) + ",";
    }
    bool isExclusive(const std::string& taskName) override { return m_map->isExclusive(taskName); }
    bool isDisplacedBy(const std::string& taskName, const std::string& byTaskName) override {
        return m_map->isDisplacedBy(taskName, byTaskName);
    }
    bool isDisplacedOnFilterChange(const std::string& taskName, const std::string& filterName) override {
        return isGrid(taskName) && taskName.find("," + filterName + ",") != std::string::npos;
    }
    bool isDisplacedOnKnobChange(const std::string& taskName) override { return isGrid(taskName); }

private:
    static bool isGrid(const std::string& taskName) { return taskName.starts_with("gridview:"); }

    std::shared_ptr<TaskDisplacementMap> m_map = TaskDisplacementMap::build()
                                                     ->incomingTasks("^gridview:search")
                                                     ->displace("^gridview:search")
                                                     ->incomingTasks("^gridview:refresh")
                                                     ->displace("^gridview:")
                                                     ->incomingTasks("^viewpoint:set")
                                                     ->displace(".*");
};

/// Serves every operation. A request with the value `hold` is held at the checkpoint of its id; one with
/// `lend` at the checkpoint "lent", where it lends its thread; one with
/// `outcome` fails or throws as that says, or ignores its cancel; one with `endless` reaches the
/// checkpoint of its id and works until it is cancelled. Keeps "+ID" when a request begins and "-ID" or, if
/// it was cancelled, "!ID" when it ends.
class FakeHandler : public IRequestHandler {
public:
    FakeHandler(std::string domain, Checkpoints& checkpoints)
        : m_domain(std::move(domain)), m_checkpoints(checkpoints) {}

    std::string getDomainName() override { return m_domain; }
    std::shared_ptr<ITaskDisplacementStrategy> getTaskDisplacementStrategy() override { return m_strategy; }

    error_code_t handleRequest(const std::string&, const variant_bag_t& request, variant_bag_t& response,
                               notifykit2::IProgress* progress) override {
        const std::string id(request.get_variant("id").text());
        keep("+" + id);
        if (request.has<variant_t>("hold")) m_checkpoints.pass(id);
        if (request.has<variant_t>("lend")) {
            const bk2::task_waiting_scope_t waiting;
            m_checkpoints.pass("lent");
        }
        if (request.has<variant_t>("endless")) m_checkpoints.reach(id);
        while (request.has<variant_t>("endless") && !progress->is_canceled())
            std::this_thread::yield();
        keep((progress->is_canceled() ? "!" : "-") + id);
        m_checkpoints.reach("end of " + id);
        response.put_own_value("served", variant_t(true));
        return outcome(std::string(request.get_variant("outcome").text()), *progress);
    }

    std::vector<std::string> history() {
        std::lock_guard lock(m_mutex);
        return m_history;
    }

private:
    static error_code_t outcome(const std::string& name, const notifykit2::IProgress& progress) {
        if (name == "throw") throw std::runtime_error("out of luck");
        if (name == "fail") return error_code_t::raise(bk2::kinds::is_not_valid_data, "bad data");
        if (name == "nothing done") return error_code_t::nothing_done();
        const bool canceled = name == "canceled" || (progress.is_canceled() && name != "ignore cancel");
        return canceled ? error_code_t::canceled() : error_code_t::success();
    }

    void keep(const std::string& step) {
        std::lock_guard lock(m_mutex);
        m_history.push_back(step);
    }

    const std::string m_domain;
    Checkpoints& m_checkpoints;
    const std::shared_ptr<FakeStrategy> m_strategy = std::make_shared<FakeStrategy>();
    std::mutex m_mutex;
    std::vector<std::string> m_history;
};

/// A scheduler over the real task system and dispatcher, with fakes around it.
class SchedulerTest : public testing::Test {
protected:
    SchedulerTest() {
        for (const char* domain : {"gridview", "viewpoint", "filter", "knob", "work"}) {
            handlers.push_back(std::make_shared<FakeHandler>(domain, checkpoints));
            dispatcher->addRequestHandler(handlers.back());
        }
    }

    // The requests that tasks work for live in the scheduler.
    ~SchedulerTest() override { finish(); }

    /// Ends all tasks, so that nothing can be answered any more.
    void finish() {
        scheduler.stop();
        tasks.stop();
    }

    using values_t = std::initializer_list<std::pair<const char*, const char*>>;

    error_code_t trySchedule(const std::string& id, const std::string& type, values_t values = {}) {
        auto request = makeRequest(id, values);
        return scheduler.schedule(id.c_str(), type.c_str(), request);
    }

    void schedule(const std::string& id, const std::string& type, values_t values = {}) {
        EXPECT_TRUE(trySchedule(id, type, values).succeeded());
    }

    /// Schedules a request and returns when its handler holds it.
    void scheduleHeld(const std::string& id, const std::string& type, values_t values = {}) {
        auto request = makeRequest(id, values);
        request.put("hold", variant_t(true));
        EXPECT_TRUE(scheduler.schedule(id.c_str(), type.c_str(), request).succeeded());
        checkpoints.waitFor(id);
    }

    /// Sends a request that nothing holds up through the queue. The queue is first in, first out: with the
    /// other thread held, whatever was handed to it before has begun when this returns.
    void flushQueue() {
        const std::string id = "flush" + std::to_string(++m_flushes);
        schedule(id, "work:flush");
        EXPECT_EQ(client->waitForAnswer(id), std::vector<std::string>{"ok"});
    }

    bool hasBegun(const std::string& id) { return happened("+" + id); }
    bool wasStopped(const std::string& id) { return happened("!" + id); }

    bool happened(const std::string& step) {
        return std::any_of(handlers.begin(), handlers.end(), [&](const auto& handler) {
            const auto history = handler->history();
            return std::find(history.begin(), history.end(), step) != history.end();
        });
    }

    using answers_t = std::vector<std::string>;

    Checkpoints checkpoints;
    bk2::sptr_t<FakeClient> client = bk2::make_sptr<FakeClient>();
    std::shared_ptr<IRequestDispatcher> dispatcher = IRequestDispatcher::create();
    std::vector<std::shared_ptr<FakeHandler>> handlers;
    bk2::task_system_t tasks;
    RequestScheduler scheduler{dispatcher, client, tasks};

private:
    /// `gridid` among the values becomes a child with an own value, as on the wire.
    static variant_bag_t makeRequest(const std::string& id, values_t values) {
        variant_bag_t request;
        request.put("id", variant_t(id));
        for (const auto& [name, value] : values)
            if (std::string(name) == "gridid")
                request.put_own_value(name, variant_t(value));
            else
                request.put(name, variant_t(value));
        return request;
    }

    int m_flushes = 0;
};

} // namespace panedeck::host::tests
