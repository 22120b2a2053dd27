#include "dispatch/irequest_dispatcher.h"
#include "support/log_capture.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace panedeck {
namespace {

using bk2::error_code_t;
using bk2::variant_bag_t;
using tests::LogCapture;

/// Answers true to a question about task "x" exactly if it was asked through the strategy of domain `x`.
class OwnNameStrategy : public ITaskDisplacementStrategy {
public:
    explicit OwnNameStrategy(std::string domain) : m_domain(std::move(domain)) {}

    std::string buildTaskName(const std::string& requestType, const variant_bag_t&) override {
        return requestType + "@" + m_domain;
    }
    bool isMine(const std::string& taskName) override { return taskName.starts_with(m_domain); }
    bool isExclusive(const std::string& taskName) override { return taskName.starts_with(m_domain); }
    bool isDisplacedBy(const std::string& taskName, const std::string& byTaskName) override {
        return byTaskName.starts_with(m_domain) && !taskName.starts_with(m_domain);
    }
    bool isDisplacedOnFilterChange(const std::string& taskName, const std::string& filterName) override {
        return taskName.starts_with(m_domain) && filterName == "f";
    }
    bool isDisplacedOnKnobChange(const std::string& taskName) override {
        return taskName.starts_with(m_domain);
    }

private:
    std::string m_domain;
};

/// Says in the answer what reached it.
class EchoHandler : public IRequestHandler {
public:
    EchoHandler(std::string domain, std::string mark,
                std::shared_ptr<ITaskDisplacementStrategy> strategy = nullptr)
        : m_domain(std::move(domain)), m_mark(std::move(mark)), m_strategy(std::move(strategy)) {}

    std::string getDomainName() override { return m_domain; }
    error_code_t handleRequest(const std::string& operation, const variant_bag_t&, variant_bag_t& response,
                               notifykit2::IProgress*) override {
        if (operation == "fail") return error_code_t::raise(bk2::kinds::is_not_valid_data, "echo");
        response.put_own_value("reached", m_mark + "/" + operation);
        return error_code_t::success();
    }
    std::shared_ptr<ITaskDisplacementStrategy> getTaskDisplacementStrategy() override { return m_strategy; }

private:
    std::string m_domain;
    std::string m_mark;
    std::shared_ptr<ITaskDisplacementStrategy> m_strategy;
};

/// Inherits the default strategy.
class PlainHandler : public IRequestHandler {
public:
    std::string getDomainName() override { return "plain"; }
    error_code_t handleRequest(const std::string&, const variant_bag_t&, variant_bag_t&,
                               notifykit2::IProgress*) override {
        return error_code_t::success();
    }
};

std::shared_ptr<EchoHandler> echo(const std::string& domain, const std::string& mark) {
    return std::make_shared<EchoHandler>(domain, mark, std::make_shared<OwnNameStrategy>(domain));
}

std::string reached(IRequestDispatcher& dispatcher, const std::string& type) {
    variant_bag_t response;
    const auto error = dispatcher.handleRequest(type, variant_bag_t(), response, nullptr);
    if (error.failed()) return error.as_string();
    return std::string(response.get_own_value("reached")->text());
}

TEST(RequestDispatcher, GroupsAreSearchedInOrderAndCanBeTakenAway) {
    const auto dispatcher = IRequestDispatcher::create();
    const auto first = IRequestHandlerGroup::create();
    const auto second = IRequestHandlerGroup::create();
    first->addRequestHandler(echo("a", "first"));
    second->addRequestHandler(echo("a", "second"));
    second->addRequestHandler(echo("b", "second"));
    dispatcher->addRequestHandlerGroup(first);
    dispatcher->addRequestHandlerGroup(second);
    dispatcher->addRequestHandlerGroup(first);
    EXPECT_EQ(reached(*dispatcher, "a"), "first/");
    EXPECT_EQ(reached(*dispatcher, "b"), "second/");
    dispatcher->removeRequestHandlerGroup(first);
    EXPECT_EQ(reached(*dispatcher, "a"), "second/") << "every entry of a removed group goes";
    dispatcher->addRequestHandler(echo("a", "default"));
    EXPECT_EQ(reached(*dispatcher, "a"), "default/") << "the default group comes first";
    second->removeRequestHandlers();
    EXPECT_EQ(reached(*dispatcher, "b"), "IsNot.Valid.Parameter: b");
}

TEST(RequestHandlerGroup, SecondHandlerOfADomainReplacesTheFirst) {
    LogCapture log;
    const auto group = IRequestHandlerGroup::create();
    const auto later = echo("a", "later");
    group->addRequestHandler(echo("a", "earlier"));
    EXPECT_EQ(log.size(), 0u);
    group->addRequestHandler(later);
    EXPECT_EQ(log.count("!getRequestHandler(handler->getDomainName())"), 1);
    EXPECT_EQ(group->getRequestHandler("a:get"), later);
    EXPECT_EQ(group->getRequestHandler("b:get"), nullptr);
}

TEST(RequestDispatcher, EachQuestionGoesToTheStrategyConcerned) {
    const auto dispatcher = IRequestDispatcher::create();
    dispatcher->addRequestHandler(echo("a", ""));
    dispatcher->addRequestHandler(echo("b", ""));
    dispatcher->addRequestHandler(std::make_shared<PlainHandler>());
    const auto strategy = dispatcher->getTaskDisplacementStrategy();
    ASSERT_TRUE(strategy);
    EXPECT_EQ(strategy->buildTaskName("a:x", variant_bag_t()), "a:x@a");
    EXPECT_EQ(strategy->buildTaskName("plain:x", variant_bag_t()), "plain:x");
    EXPECT_TRUE(strategy->isMine("b:x"));
    EXPECT_TRUE(strategy->isExclusive("b:x"));
    EXPECT_TRUE(strategy->isDisplacedBy("plain:x", "a:y")) << "the incoming task's strategy answers";
    EXPECT_FALSE(strategy->isDisplacedBy("a:y", "plain:x"));
    EXPECT_TRUE(strategy->isDisplacedOnFilterChange("a:x", "f"));
    EXPECT_FALSE(strategy->isDisplacedOnFilterChange("plain:x", "f"));
    EXPECT_TRUE(strategy->isDisplacedOnKnobChange("a:x"));
    EXPECT_FALSE(strategy->isDisplacedOnKnobChange("plain:x"));

    std::string taskName;
    EXPECT_TRUE(dispatcher->buildTaskName("b:x", variant_bag_t(), taskName).succeeded());
    EXPECT_EQ(taskName, "b:x@b");
}

} // namespace
} // namespace panedeck
