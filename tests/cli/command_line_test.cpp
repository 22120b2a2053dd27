#include "command_line.h"

#include <gtest/gtest.h>

namespace panedeck::cli {
namespace {

CommandLine read(std::vector<const char*> arguments) {
    arguments.insert(arguments.begin(), "panedeck");
    return read_command_line(static_cast<int>(arguments.size()), arguments.data());
}

TEST(CommandLine, Import) {
    const CommandLine line = read({"import", "a", "b", "--out", "results"});
    const auto& command = std::get<ImportCommand>(line.command);
    EXPECT_EQ(command.inputs, (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(command.out_directory, "results");
}

TEST(CommandLine, OpenTakesUpToTwoAndTheUserDirectoryAnywhere) {
    const CommandLine line = read({"open", "--no-browser", "before", "after", "--user-dir", "user"});
    const auto& command = std::get<OpenCommand>(line.command);
    EXPECT_FALSE(command.opens_browser);
    EXPECT_EQ(command.session.results, (std::vector<std::string>{"before", "after"}));
    EXPECT_EQ(command.session.user_directory, "user");
    EXPECT_TRUE(std::get<OpenCommand>(read({"--user-dir", "user", "open"}).command).opens_browser);
    EXPECT_EQ(std::get<OpenCommand>(read({"compare", "a", "b"}).command).session.results.size(), 2u);
}

TEST(CommandLine, ListAndCheckHaveDefaults) {
    EXPECT_EQ(std::get<ListCommand>(read({"list"}).command).folder, ".");
    EXPECT_EQ(std::get<ListCommand>(read({"list", "x"}).command).folder, "x");
    EXPECT_TRUE(std::get<CheckCommand>(read({"check"}).command).session.results.empty());
}

TEST(CommandLine, BadUsageIs2AndHelpIs0) {
    const struct {
        std::vector<const char*> arguments;
        int exit_code;
    } cases[] = {
        {{}, 2},
        {{"bogus"}, 2},
        {{"import", "a"}, 2},
        {{"import", "--out", "x"}, 2},
        {{"open", "a", "b", "c"}, 2},
        {{"open", "--bogus"}, 2},
        {{"compare", "a"}, 2},
        {{"compare", "a", "b", "c"}, 2},
        {{"check", "--timeout", "soon"}, 2},
        {{"--help"}, 0},
        {{"import", "--help"}, 0},
    };
    for (const auto& entry : cases) {
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        const CommandLine line = read(entry.arguments);
        const bool told = !testing::internal::GetCapturedStdout().empty() +
                              !testing::internal::GetCapturedStderr().empty() ==
                          1;
        ASSERT_TRUE(std::holds_alternative<NoCommand>(line.command));
        EXPECT_EQ(std::get<NoCommand>(line.command).exit_code, entry.exit_code);
        EXPECT_TRUE(told);
    }
}

} // namespace
} // namespace panedeck::cli
