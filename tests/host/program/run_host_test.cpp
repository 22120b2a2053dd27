#include "program/run_host.h"
#include "program/stop_signals.h"
#include "support/loopback_server.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>
#include <unistd.h>

namespace panedeck::host {
namespace {

// Each statement runs in a process of its own, since it blocks signals for the whole of it.
class RunHostDeathTest : public testing::Test {
protected:
    RunHostDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }

    host_options_t options(const std::string& result) {
        host_options_t made;
        made.server = {"127.0.0.1", 1};
        made.userDirectory = m_folder.path();
        made.results = {result};
        return made;
    }

    std::string profile() {
        const auto path = m_folder.path() + "/a.folded";
        std::ofstream(path) << "main;work 3\n";
        return path;
    }

    panedeck::tests::TemporaryFolder m_folder;
};

// The process makes a folder of its own when it gets here, and ends without destroying the fixture.
[[noreturn]] void leave(int exitCode, const host_options_t& options) {
    std::filesystem::remove_all(options.userDirectory);
    std::exit(exitCode);
}

[[noreturn]] void serveUntil(int signal, host_options_t options) {
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGTERM);
    sigaddset(&stopSignals, SIGINT);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr); // for the thread below, which is older than the host
    panedeck::tests::LoopbackServer server;
    options.server.port = server.port();
    std::thread person([&] {
        const auto connection = server.accept();
        connection->read_frame();
        kill(getpid(), signal);
        connection->read_to_end();
    });
    const int exitCode = runHost(options);
    person.join();
    leave(exitCode, options);
}

TEST_F(RunHostDeathTest, SignalsEndItWithZero) {
    const auto path = profile();
    for (const int signal : {SIGTERM, SIGINT})
        EXPECT_EXIT(serveUntil(signal, options(path)), testing::ExitedWithCode(0), "") << signal;
}

TEST_F(RunHostDeathTest, FailureToOpenEndsItWithOneAndSaysWhy) {
    const auto missing = options("missing.folded");
    EXPECT_EXIT(leave(runHost(missing), missing), testing::ExitedWithCode(1),
                "panedeck-host: .*missing.folded");
}

TEST_F(RunHostDeathTest, EverySignalIsToldUntilTheEnd) {
    const auto countSignals = [this] {
        std::atomic<int> told{0};
        {
            StopSignals signals([&] { ++told; });
            for (int sent = 1; sent <= 3; ++sent) {
                kill(getpid(), sent == 2 ? SIGINT : SIGTERM);
                while (told < sent)
                    std::this_thread::yield();
            }
            kill(getpid(), SIGUSR1);
        }
        kill(getpid(), SIGTERM);
        leave(told, options(""));
    };
    EXPECT_EXIT(countSignals(), testing::ExitedWithCode(3), "");
}

} // namespace
} // namespace panedeck::host
