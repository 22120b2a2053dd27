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

TEST(DataChangeScope, AnnouncesAndEndsInOneOfTwoWays) {
    using events_t = std::vector<std::string>;
    const std::string before = "BeforeDataChangeEvent", wait = "WaitForOtherPanesStopDataRequests";
    const struct {
        bool active;
        int commits;
        events_t sent;
    } cases[] = {{true, 2, {before, wait, "DataChangedEvent"}},
                 {true, 0, {before, wait, "CancelDataChangeEvent"}},
                 {false, 1, {}},
                 {false, 0, {}}};
    for (const auto& expected : cases) {
        Events events;
        {
            DataChangeScope change(&events, expected.active);
            for (int i = 0; i < expected.commits; ++i)
                change.commit();
        }
        EXPECT_EQ(events.sent, expected.sent);
    }
}

} // namespace
} // namespace panedeck
