#include "basekit/assertion.h"
#include "basekit/error_code.h"
#include "support/log_capture.h"

#include <gtest/gtest.h>

using namespace bk2;
using panedeck::tests::LogCapture;

namespace {

error_code_t require(bool holds) {
    PANEDECK_REQUIRE(holds, "holds", kinds::is_not_valid_state, "It must hold");
    return error_code_t::success();
}

error_code_t pass_on(const error_code_t& error) {
    PANEDECK_PASS_ON(error);
    return error_code_t::success();
}

TEST(assertion, a_precondition_is_logged_and_returned) {
    LogCapture log;
    EXPECT_TRUE(require(true).succeeded());
    EXPECT_EQ(log.size(), 0u);
    EXPECT_EQ(require(false).as_string(), "IsNot.Valid.State: It must hold");
    EXPECT_EQ(log.count("IsNot.Valid.State:It must hold, at file: tests/platform/"), 1);
    PANEDECK_EXPECT(1 > 2, "1 > 2");
    EXPECT_EQ(log.count("1 > 2, at file: tests/platform/"), 1);
}

TEST(assertion, a_callees_failure_is_passed_on_and_a_cancel_is_no_fault) {
    LogCapture log;
    EXPECT_TRUE(pass_on(error_code_t::nothing_done()).succeeded());
    EXPECT_TRUE(pass_on(error_code_t::canceled()).is_canceled());
    EXPECT_EQ(log.size(), 0u);
    EXPECT_EQ(pass_on(error_code_t::failure("why")).message(), "why");
    EXPECT_EQ(log.count("FailedTo:why"), 1);
}

} // namespace
