#include "viewpoint/viewpoint_task_displacement_strategy.h"

#include <gtest/gtest.h>

namespace panedeck {
namespace {

TEST(ViewpointTaskDisplacementStrategy, SettingAViewpointDisplacesEverythingElse) {
    ViewpointTaskDisplacementStrategy strategy;
    EXPECT_EQ(strategy.buildTaskName("viewpoint:set", bk2::variant_bag_t()), "viewpoint:set");
    EXPECT_TRUE(strategy.isDisplacedBy("knob:get", "viewpoint:set"));
    EXPECT_TRUE(strategy.isDisplacedBy("viewpoint:set", "viewpoint:set"));
    EXPECT_FALSE(strategy.isDisplacedBy("knob:get", "viewpoint:get"));
    EXPECT_TRUE(strategy.isExclusive("viewpoint:set"));
    EXPECT_FALSE(strategy.isExclusive("viewpoint:get"));
    EXPECT_FALSE(strategy.isMine("viewpoint:set"));
    EXPECT_FALSE(strategy.isDisplacedOnFilterChange("viewpoint:config,a,", "a"));
    EXPECT_FALSE(strategy.isDisplacedOnKnobChange("viewpoint:config"));
}

} // namespace
} // namespace panedeck
