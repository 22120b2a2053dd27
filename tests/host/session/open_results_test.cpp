#include "notifykit/progress.h"
#include "session/open_results.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

#include <fstream>

namespace panedeck::host {
namespace {

TEST(OpenResults, CanceledOpeningIsTheCanceledError) {
    const panedeck::tests::TemporaryFolder folder;
    std::ofstream(folder / "a.folded") << "main;work 3\nmain 1\n";
    const auto progress = notifykit2::IDevNullProgress::create();
    progress->cancel();
    open_results_t results;
    EXPECT_TRUE(openResults({folder / "a.folded"}, "", progress.get(), results).is_canceled());
    EXPECT_FALSE(results.first || results.library);
}

} // namespace
} // namespace panedeck::host
