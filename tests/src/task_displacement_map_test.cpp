#include "dispatch/task_displacement_map.h"
#include "support/log_capture.h"

#include <gtest/gtest.h>

namespace panedeck {
namespace {

TEST(TaskDisplacementMap, EntriesAndTheirPatterns) {
    const auto map = TaskDisplacementMap::build()
                         ->incomingTasks("^a:refresh")
                         ->displace("^a:")
                         ->displace("^b:x$")
                         ->incomingTasks("set")
                         ->displace(".*")
                         ->incomingTasks("^idle:");
    const struct {
        const char* taskName;
        const char* byTaskName;
        bool displaced;
    } cases[] = {
        {"a:scroll", "a:refresh:,f,", true},
        {"b:x", "a:refresh", true},
        {"b:xy", "a:refresh", false},
        {"a:scroll", "a:scroll", false},
        {"c:scroll", "a:refresh", false},
        {"anything", "c:set:y", true}, // a pattern may match anywhere
        {"", "set", true},
        {"anything", "idle:x", false}, // an entry that displaces nothing
        {"a:scroll", "xa:refresh", false},
    };
    for (const auto& expected : cases)
        EXPECT_EQ(map->isDisplacedBy(expected.taskName, expected.byTaskName), expected.displaced)
            << expected.taskName << " by " << expected.byTaskName;
    EXPECT_TRUE(map->isExclusive("a:refresh:x"));
    EXPECT_TRUE(map->isExclusive("reset"));
    EXPECT_TRUE(map->isExclusive("idle:x"));
    EXPECT_FALSE(map->isExclusive("b:x"));
}

} // namespace
} // namespace panedeck
