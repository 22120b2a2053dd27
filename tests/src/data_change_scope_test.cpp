#include "dispatch/data_change_scope.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace panedeck {
namespace {

struct Events : IEventDispatcher {
    bk2::error_code_t sendEvent(const char* name, const bk2::variant_bag_t* payload) override {
        EXPECT_EQ(payload, nullptr);
        sent.emplace_back(name);
        return bk2::error_code_t::failure("nobody listens"); // of no consequence
    }
    std::vector<std::string> sent;
};

const std::vector<std::string> announced{"BeforeDataChangeEvent", "WaitForOtherPanesStopDataRequests"};

TEST(DataChangeScope, AnnouncesAndCommits) {
    Events events;
    {
        DataChangeScope change(&events, true);
        EXPECT_EQ(events.sent, announced);
        change.commit();
        change.commit();
    }
    auto expected = announced;
    expected.push_back("DataChangedEvent");
    EXPECT_EQ(events.sent, expected);
}

TEST(DataChangeScope, TakesTheAnnouncementBackWithoutACommit) {
    Events events;
    { DataChangeScope change(&events, true); }
    auto expected = announced;
    expected.push_back("CancelDataChangeEvent");
    EXPECT_EQ(events.sent, expected);
}

TEST(DataChangeScope, InactiveScopeIsSilent) {
    Events events;
    {
        DataChangeScope change(&events, false);
        change.commit();
    }
    { DataChangeScope change(&events, false); }
    EXPECT_TRUE(events.sent.empty());
}

} // namespace
} // namespace panedeck
