#include "program/host_options.h"
#include "support/environment_guard.h"

#include <gtest/gtest.h>

namespace panedeck::host {
namespace {

std::variant<host_options_t, early_exit_t> parse(std::vector<const char*> arguments) {
    arguments.insert(arguments.begin(), "panedeck-host");
    return parseHostOptions(static_cast<int>(arguments.size()), arguments.data());
}

TEST(HostOptions, AllOptionsAndTwoResults) {
    const auto parsed = parse({"--server", "127.0.0.1:4242", "--role", "r", "--token", "t", "--user-dir", "u",
                               "--config-dir", "c", "before", "after"});
    const auto& options = std::get<host_options_t>(parsed);
    EXPECT_EQ(options.server.port, 4242);
    EXPECT_EQ(options.role, "r");
    EXPECT_EQ(options.token, "t");
    EXPECT_EQ(options.userDirectory, "u");
    EXPECT_EQ(options.configDirectory, "c");
    EXPECT_EQ(options.results, (std::vector<std::string>{"before", "after"}));
}

TEST(HostOptions, OptionsMayFollowTheResult) {
    const panedeck::tests::EnvironmentGuard guard("PANEDECK_TOKEN");
    ::setenv("PANEDECK_TOKEN", "inherited", 1);
    const auto options = std::get<host_options_t>(parse({"one", "--server", "[fe80::1%1]:1"}));
    EXPECT_EQ(options.results, std::vector<std::string>{"one"});
    EXPECT_EQ(options.server.host, "fe80::1%1");
    EXPECT_EQ(options.token, "inherited");
}

TEST(HostOptions, BadUsageExitsWithTwoAndSaysWhy) {
    const std::vector<const char*> bad[] = {
        {},
        {"--server", "127.0.0.1:1"},
        {"one"},
        {"--server", "somewhere:1", "one"},
        {"--server", "127.0.0.1:0", "one"},
        {"--server", "127.0.0.1:65536", "one"},
        {"--server", "::1:80", "one"},
        {"--server", "127.0.0.1:1", "--token", "a\nb", "one"},
        {"--server", "127.0.0.1:1", "one", "two", "three"},
        {"--server", "127.0.0.1:1", "--unknown", "one"},
        {"--server"},
        {"--server", "127.0.0.1:1", ""},
    };
    for (const auto& arguments : bad) {
        const auto parsed = parse(arguments);
        ASSERT_TRUE(std::holds_alternative<early_exit_t>(parsed));
        EXPECT_EQ(std::get<early_exit_t>(parsed).exitCode, 2);
        EXPECT_EQ(std::get<early_exit_t>(parsed).text.find('\n'), std::string::npos) << "one line";
    }
}

} // namespace
} // namespace panedeck::host
