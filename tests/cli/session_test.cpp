#include "pane_client.h"
#include "session.h"
#include "support/environment_guard.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace panedeck::cli {
namespace {

namespace fs = std::filesystem;
using tests::EnvironmentGuard;
using tests::TemporaryFolder;

std::string content(const fs::path& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// What /proc tells of the programs that this one has started.
std::vector<std::string> of_children(const char* entry) {
    std::vector<std::string> found;
    for (const auto& process : fs::directory_iterator("/proc")) {
        const std::string status = content(process.path() / "status");
        if (status.find("\nPPid:\t" + std::to_string(::getpid()) + "\n") != std::string::npos)
            found.push_back(content(process.path() / entry));
    }
    return found;
}

/// The real programs with a profile, temporary files and a log of their own.
class SessionTest : public testing::Test {
protected:
    SessionTest() {
        ::setenv("TMPDIR", m_folder.path().c_str(), 1);
        ::setenv("PANEDECK_TOKEN", "of-somebody-else", 1);
        ::setenv("panedeck_LOG_CONFIG", (m_folder / "log").c_str(), 1);
        std::ofstream(m_folder / "profile") << "main;work 3\n";
        std::ofstream(m_folder / "index.html") << "page";
        std::ofstream(m_folder / "log") << "log4cplus.logger.panedeck=TRACE, file\n"
                                           "log4cplus.appender.file=log4cplus::FileAppender\n"
                                           "log4cplus.appender.file.Append=true\n"
                                           "log4cplus.appender.file.ImmediateFlush=true\n"
                                           "log4cplus.appender.file.File="
                                        << m_folder / "trace"
                                        << "\n";
    }

    EnvironmentGuard m_guards[3]{EnvironmentGuard("TMPDIR"), EnvironmentGuard("PANEDECK_TOKEN"),
                                 EnvironmentGuard("panedeck_LOG_CONFIG")};
    TemporaryFolder m_folder;
};

TEST_F(SessionTest, HandsTheTokenToItsProgramsAndNobodyElse) {
    Session session;
    SessionParameters parameters;
    parameters.results = {m_folder / "profile"};
    parameters.web_directory = m_folder.path();
    parameters.user_directory = m_folder / "user";
    ASSERT_TRUE(session.start(parameters).succeeded());
    PaneClient client([&] { return session.check(); });
    ASSERT_TRUE(client.connect(session.web_host(), session.web_port(), session.token()).succeeded());
    ASSERT_TRUE(client.wait_for_library().succeeded());
    bk2::variant_bag_t answer;
    EXPECT_TRUE(client.request("options:get", {}, answer).succeeded());
    EXPECT_TRUE(answer.has<bk2::variant_t>("adbPath"));
    EXPECT_EQ(client.request("grid:get", {}, answer).message(), "IsNot.Valid.Argument: No columns specified");

    const auto environments = of_children("environ");
    EXPECT_EQ(environments.size(), 2u);
    for (const std::string& environment : environments) {
        EXPECT_NE(environment.find("PANEDECK_TOKEN=" + session.token()), std::string::npos);
        EXPECT_EQ(environment.find("of-somebody-else"), std::string::npos);
    }
    for (const std::string& arguments : of_children("cmdline"))
        EXPECT_EQ(arguments.find(session.token()), std::string::npos) << arguments;
    for (const std::string& variable : child_environment({}))
        EXPECT_FALSE(variable.starts_with("PANEDECK_TOKEN=")) << "a browser gets none";
    const std::string log = content(m_folder / "trace");
    EXPECT_NE(log.find("<token>(removed from log)</token>"), std::string::npos);
    EXPECT_EQ(log.find(session.token()), std::string::npos);

    const fs::path launch_file = session.launch_url().substr(sizeof "file://" - 1);
    EXPECT_NE(content(launch_file).find(session.url()), std::string::npos);
    for (const fs::path& shared :
         {launch_file, launch_file.parent_path(), launch_file.parent_path() / "exports"})
        EXPECT_EQ(fs::status(shared).permissions() & (fs::perms::group_all | fs::perms::others_all),
                  fs::perms::none)
            << shared;
    session.stop();
    EXPECT_FALSE(fs::exists(launch_file.parent_path()));
}

TEST_F(SessionTest, RemovesWhatKilledRunsHaveLeftAndNothingElse) {
    SessionFolder running;
    ASSERT_TRUE(running.make().succeeded());
    const fs::path left = m_folder / "panedeck-session-killed", linked = m_folder / "panedeck-session-linked",
                   foreign = m_folder / "other-killed";
    fs::create_directories(left / "exports");
    fs::create_directory(foreign);
    fs::create_directory_symlink(foreign, linked);
    SessionFolder next;
    ASSERT_TRUE(next.make().succeeded());
    EXPECT_FALSE(fs::exists(left));
    for (const fs::path& kept : {fs::path(running.path()), foreign, linked})
        EXPECT_TRUE(fs::exists(kept)) << kept;
}

} // namespace
} // namespace panedeck::cli
