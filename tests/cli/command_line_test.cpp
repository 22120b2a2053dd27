#include "command_line.h"

#include <gtest/gtest.h>

namespace panedeck::cli {
namespace {

CommandLine read(std::vector<const char*> arguments) {
    arguments.insert(arguments.begin(), "panedeck");
    return read_command_line(static_cast<int>(arguments.size()), arguments.data());
}

TEST(CommandLine, OpenTakesUpToTwoAndTheUserDirectoryAnywhere) {
    const CommandLine line =
        read({"open", "--no-browser", "before", "after", "--user-dir", "user", "--port", "8123"});
    const auto& command = std::get<OpenCommand>(line.command);
    EXPECT_FALSE(command.opens_browser);
    EXPECT_EQ(command.session.port, 8123u);
    EXPECT_EQ(command.session.results, (std::vector<std::string>{"before", "after"}));
    EXPECT_EQ(command.session.user_directory, "user");
    EXPECT_TRUE(std::get<OpenCommand>(read({"--user-dir", "user", "open"}).command).opens_browser);
    EXPECT_EQ(std::get<OpenCommand>(read({"compare", "a", "b"}).command).session.results.size(), 2u);
}

TEST(CommandLine, NamesWhatIsWrongAndAnswersWhatItIsAskedFor) {
    const struct {
        std::vector<const char*> arguments;
        int exit_code;
        const char* text; ///< beginning of what is told
    } cases[] = {
        {{}, 2, "panedeck: a command (import, open, compare, list, check) is required\n"},
        {{"bogus"}, 2, "panedeck: unknown command: bogus\n"},
        {{"--bogus"}, 2, "panedeck: unknown option: --bogus\n"},
        {{"open", "--bogus"}, 2, "panedeck: unknown option: --bogus\n"},
        {{"list", "a", "b"}, 2, "panedeck: unexpected argument: b\n"},
        {{"import", "a"}, 2, "panedeck: --out is required\n"},
        {{"import", "--out", "x"}, 2, "panedeck: INPUT is required\n"},
        {{"open", "a", "b", "c"}, 2, "panedeck: FILE: "},
        {{"open", "--port", "70000"}, 2, "panedeck: --port: "},
        {{"compare", "a"}, 2, "panedeck: FILE: "},
        {{"compare", "a", "b", "c"}, 2, "panedeck: FILE: "},
        {{"check", "--timeout", "soon"}, 2, "panedeck: Could not convert: --timeout = soon\n"},
        {{"--help"}, 0, "Shows the profiles"},
        {{"import", "--help"}, 0, "Make result directories"},
        {{"--version"}, 0, "panedeck 0."},
    };
    for (const auto& entry : cases) {
        const CommandLine line = read(entry.arguments);
        ASSERT_TRUE(std::holds_alternative<NoCommand>(line.command)) << entry.text;
        const auto& answer = std::get<NoCommand>(line.command);
        EXPECT_EQ(answer.exit_code, entry.exit_code) << answer.text;
        EXPECT_TRUE(answer.text.starts_with(entry.text)) << answer.text;
    }
}

} // namespace
} // namespace panedeck::cli
