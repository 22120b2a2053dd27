#include "portkit/ustring8.h"

#include <gtest/gtest.h>

using namespace portkit2;

namespace {

constexpr char replacement[] = "\xEF\xBF\xBD";

// Each R in `repaired` stands for one U+FFFD.
struct repair_case_t {
    std::string_view text;
    std::string repaired;
    std::size_t good_prefix;
};

TEST(ustring8, broken_sequences_are_replaced_by_maximal_parts) {
    const repair_case_t cases[] = {
        {"", "", 0},
        {"plain text, longer than a word", "plain text, longer than a word", 30},
        {"\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80", "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80", 9},
        {"\xF4\x8F\xBF\xBF", "\xF4\x8F\xBF\xBF", 4},
        {"12345678\x80", "12345678R", 8},
        {"a\xC0\x80z", "aRRz", 1},       // overlong: neither byte could begin a character with the other
        {"\xE0\x9F\xBF", "RRR", 0},      // overlong
        {"\xED\xA0\x80", "RRR", 0},      // a surrogate
        {"\xF4\x90\x80\x80", "RRRR", 0}, // past U+10FFFF
        {"\xF5z", "Rz", 0},
        {"\xE2\x82", "R", 0}, // cut off: one part
        {"\xF0\x9F\x98z", "Rz", 0},
        {"\xE2\x82\xE2\x82\xAC", "R\xE2\x82\xAC", 0},
    };
    for (const repair_case_t& c : cases) {
        std::string expected;
        for (const char byte : c.repaired)
            byte == 'R' ? expected += replacement : expected += byte;
        EXPECT_EQ(repair_utf8(c.text), expected);
        EXPECT_EQ(valid_utf8_prefix(c.text), c.good_prefix);
        EXPECT_EQ(is_valid_utf8(c.text), c.good_prefix == c.text.size());
        EXPECT_TRUE(is_valid_utf8(repair_utf8(c.text)));
    }
}

TEST(ustring8, every_character_survives_the_way_to_wide_text_and_back) {
    for (char32_t character = 1; character <= 0x10FFFF; ++character) {
        if (character == 0xD800) character = 0xE000;
        const std::wstring wide(1, static_cast<wchar_t>(character));
        const ustring8 narrow = to_narrow(wide);
        ASSERT_TRUE(is_valid_utf8(narrow)) << static_cast<unsigned>(character);
        ASSERT_EQ(to_wide(narrow), wide) << static_cast<unsigned>(character);
    }
}

TEST(ustring8, what_is_no_character_becomes_a_replacement) {
    EXPECT_EQ(to_narrow(std::wstring(1, static_cast<wchar_t>(0xD800))), replacement);
    EXPECT_EQ(to_narrow(std::wstring(1, static_cast<wchar_t>(0x110000))), replacement);
    EXPECT_EQ(to_wide("a\xFFz"), L"a\uFFFDz");
}

} // namespace
