// g++ 12 with sanitizers takes members of the library's own regular expressions for uninitialised.
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"

#include "logkit/component_logger.h"
#include "transport/sensitive_parameter.h"

#include <gtest/gtest.h>

#include <random>
#include <regex>

namespace panedeck {
namespace {

using sensitive_parameter::decode;
using sensitive_parameter::mark;
using sensitive_parameter::sanitizeLog;
using sensitive_parameter::withoutMarks;

int assertions_logged = 0;

void count_assertion(logkit1::level_t level, std::string_view text) {
    if (level == logkit1::level_t::error && text.starts_with("found, at file: ")) ++assertions_logged;
}

TEST(SensitiveParameter, MarksComeOffWholeValuesOnly) {
    EXPECT_EQ(withoutMarks(mark("a)b")), "a)b");
    EXPECT_EQ(withoutMarks("x" + mark("a")), "x" + mark("a"));
}

TEST(SensitiveParameter, DecodeWithoutMarksLogsItsAssertion) {
    assertions_logged = 0;
    logkit1::set_log_observer(count_assertion);
    EXPECT_EQ(decode("nothing to hide"), "");
    EXPECT_EQ(decode("sensitive(a\nb)sensitive"), "");
    logkit1::set_log_observer(nullptr);
    EXPECT_EQ(assertions_logged, 2);
}

/// A text of a million characters between the marks, and as many lines: no stack is used up, no time squared.
TEST(SensitiveParameter, SanitizeLogTakesWholeFrames) {
    const std::string long_value(1'000'000, 'x');
    EXPECT_EQ(sanitizeLog("sensitive(" + long_value + ")sensitive"), "(removed from log)");
    std::string lines;
    for (int line = 0; line < 100'000; ++line)
        lines += "sensitive(\n";
    EXPECT_EQ(sanitizeLog(lines), lines);
}

/// The same results as the regular expression that defines the marks, for texts made of what could confuse a
/// search.
TEST(SensitiveParameter, SanitizeLogEqualsTheRegularExpression) {
    const std::regex expression("sensitive\\((.*)\\)sensitive");
    const std::vector<std::string> pieces = {"sensitive(", ")sensitive", "sensitive", "(",
                                             ")",          "\n",         "\r",        "x"};
    std::mt19937 random(20240607);
    for (int round = 0; round < 3000; ++round) {
        std::string text;
        for (int piece = 0; piece < 12; ++piece)
            text += pieces[random() % pieces.size()];
        EXPECT_EQ(sanitizeLog(text), std::regex_replace(text, expression, "(removed from log)")) << text;
        std::smatch match;
        if (std::regex_search(text, match, expression)) {
            EXPECT_EQ(decode(text), match[1].str()) << text;
        }
    }
}

} // namespace
} // namespace panedeck
