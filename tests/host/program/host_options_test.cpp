#include "program/host_options.h"

#include <gtest/gtest.h>

namespace panedeck::host {
namespace {

TEST(ServerAddress, NumericAddressesWithAPort) {
    const struct {
        const char* text;
        const char* host;
        unsigned short port;
    } good[] = {
        {"127.0.0.1:80", "127.0.0.1", 80},
        {"[::1]:65535", "::1", 65535},
        {"[fe80::1%1]:1", "fe80::1%1", 1},
    };
    for (const auto& expected : good) {
        const auto address = parseServerAddress(expected.text);
        ASSERT_TRUE(address) << expected.text;
        EXPECT_EQ(address->host, expected.host);
        EXPECT_EQ(address->port, expected.port);
    }
    for (const char* text : {"", "127.0.0.1", "127.0.0.1:", ":80", "localhost:80", "127.0.0.1:0",
                             "127.0.0.1:65536", "127.0.0.1:-1", "127.0.0.1: 80", "127.0.0.1:80x",
                             "256.0.0.1:80", "::1:80", "[127.0.0.1]:80", "[]:80", "[::1:80", "1.2.3.4:80:80"})
        EXPECT_FALSE(parseServerAddress(text)) << text;
}

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
    const auto options = std::get<host_options_t>(parse({"one", "--server", "127.0.0.1:1"}));
    EXPECT_EQ(options.results, std::vector<std::string>{"one"});
    EXPECT_EQ(options.token, "");
}

TEST(HostOptions, BadUsageExitsWithTwoAndSaysWhy) {
    const std::vector<const char*> bad[] = {
        {},
        {"--server", "127.0.0.1:1"},
        {"one"},
        {"--server", "somewhere:1", "one"},
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

TEST(HostOptions, HelpIsNoFailure) {
    const auto help = std::get<early_exit_t>(parse({"--help"}));
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_NE(help.text.find("--server"), std::string::npos);
}

} // namespace
} // namespace panedeck::host
