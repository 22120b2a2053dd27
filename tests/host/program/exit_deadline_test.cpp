#include "program/exit_deadline.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <future>

namespace panedeck::host {
namespace {

using std::chrono::milliseconds;

[[noreturn]] void waitInVain() {
    std::promise<void>().get_future().wait();
    std::_Exit(3);
}

TEST(ExitDeadlineDeathTest, EndsAProcessThatIsHeldUp) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            ExitDeadline deadline(milliseconds(20));
            deadline.start();
            deadline.start();
            waitInVain();
        },
        testing::ExitedWithCode(0), "");
}

TEST(ExitDeadlineDeathTest, IsCalledOffByItsEnd) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            {
                ExitDeadline unused(milliseconds(0));
                ExitDeadline deadline(std::chrono::hours(1));
                deadline.start();
            }
            std::_Exit(4);
        },
        testing::ExitedWithCode(4), "");
}

} // namespace
} // namespace panedeck::host
