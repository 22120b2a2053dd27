#include "scheduler/changing_requests.h"

#include <gtest/gtest.h>

namespace panedeck::host {
namespace {

TEST(ChangingRequests, TheLastWordOfTheOperationDecides) {
    for (const char* type :
         {"filter:set", "filter:selection:apply", "knob:set", "viewpoint:set", "options:set",
          "property:state:set", "projects:new", "projects:rename", "result:refinalize"})
        EXPECT_TRUE(isChangingRequest(type)) << type;
    for (const char* type : {"filter:get", "set", "set:get", "grid:reset", "gridview:sort",
                             "projects:new:validate", "", ":", "knob:"})
        EXPECT_FALSE(isChangingRequest(type)) << type;
}

} // namespace
} // namespace panedeck::host
