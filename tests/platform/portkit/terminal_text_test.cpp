#include "portkit/terminal_text.h"

#include <gtest/gtest.h>

namespace portkit2 {
namespace {

TEST(TerminalText, ShowsWhatCouldDriveOrReorderALine) {
    const struct {
        std::string_view text;
        const char* shown;
        const char* shown_with_lines;
    } cases[] = {
        {"größer 漢😀 C:\\n", "größer 漢😀 C:\\n", "größer 漢😀 C:\\n"},
        {"\x1b]0;title\a\x7f", "\\x1b]0;title\\x07\\x7f", "\\x1b]0;title\\x07\\x7f"},
        {"a\n\tb\rc", "a\\x0a\\x09b\\x0dc", "a\n\tb\\x0dc"},
        {"\u009b31m\u0080\u009f\u00a0", "\\u009b31m\\u0080\\u009f\u00a0", "\\u009b31m\\u0080\\u009f\u00a0"},
        {"\u202egnp.exe\u2066\u2069\u200f\u061c", "\\u202egnp.exe\\u2066\\u2069\\u200f\\u061c",
         "\\u202egnp.exe\\u2066\\u2069\\u200f\\u061c"},
        {"\u2028\u2029\u200d", "\\u2028\\u2029\u200d", "\\u2028\\u2029\u200d"},
        {"\x9b\xe2\x80z\xff", "\\x9b\\xe2\\x80z\\xff", "\\x9b\\xe2\\x80z\\xff"},
    };
    for (const auto& entry : cases) {
        EXPECT_EQ(terminal_text(entry.text), entry.shown);
        EXPECT_EQ(terminal_text(entry.text, line_breaks_t::kept), entry.shown_with_lines);
    }
    EXPECT_EQ(terminal_text(std::string_view("\0", 1)), "\\x00");
}

} // namespace
} // namespace portkit2
