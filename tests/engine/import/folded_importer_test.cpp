#include "engine/import/import_fixture.h"

namespace panedeck::engine::tests {
namespace {

TEST(FoldedImporter, makes_these_trees) {
    checkCases({
        {"two branches, merged lines", "a;b;c 1\na;d 2\na;b;c 3\na 5\n", "a 5\n b\n  c 4\n d 2\n"},
        {"no end of line at the end, CRLF", "a;b 1\r\na;c 2", "a\n b 1\n c 2\n"},
        {"byte order mark",
         "\xEF\xBB\xBF"
         "a;b 1\n",
         "a\n b 1\n"},
        {"comments and blank lines are no data", "# events: 5\n\n  \t\n#a;b 7\na;b 1\n", "a\n b 1\n"},
        {"empty frames are unknown", "a;;b 1\n;a 2\n; 4\n", "a\n [unknown]\n  b 1\n[unknown] 4\n a 2\n"},
        {"a blank frame is unknown", "a; ;b 1\n", "a\n [unknown]\n  b 1\n"},
        {"one closing semicolon ends the stack", "a;b; 1\na;b 2\na;b;; 4\n", "a\n b 3\n  [unknown] 4\n"},
        {"blanks around frames go, annotations stay", " a ;\tb_[k] ; c d  1\n", "a\n b_[k]\n  c d 1\n"},
        {"the weight is the last word", "a b 12;c 3 4\n", "a b 12\n c 3 4\n"},
        {"tabs and blanks around the weight", "a;b\t 7 \t\n", "a\n b 7\n"},
        {"recursion", "a;a;a 1\na;a 2\n", "a\n a 2\n  a 1\n"},
        {"decimals", "a;b 0.5\na;c .25\na;d 3\na;e 2.\n", "a\n b 0.5\n c 0.25\n d 3\n e 2\n"},
        {"a fraction of zeros is an integer", "a;b 9223372036854775807.000\n", "a\n b 9223372036854775807\n"},
        {"broken UTF-8 becomes the replacement character", "a\xFF;b\xC3 1\na\xFE;b 2\n",
         "a\uFFFD\n b\uFFFD 1\n b 2\n"},
        {"names that look like another format", "{main};{\"x\"} 1\n{main};f(int, char) 2\n",
         "{main}\n {\"x\"} 1\n f(int, char) 2\n"},
        {"UTF-16 little endian",
         std::string("\xFF\xFE"
                     "a\0;\0\x34\xD8\x1E\xDD \0001\0\r\0\n\0",
                     18),
         "a\n \U0001D11E 1\n"},
        {"UTF-16 big endian with half a pair", std::string("\xFE\xFF\0a\0;\xD8\x34\0b\0 \0002\0\n", 16),
         "a\n \uFFFDb 2\n"},
    });
}

TEST(FoldedImporter, skips_and_counts_damaged_lines) {
    std::string ten_lines;
    for (int i = 0; i < 10; ++i)
        ten_lines += "a;b 1\n";
    checkCases({
        {"all kinds",
         "a;b 1\nno weight here\na;b -5\na;b 9223372036854775808\na;b 1e5\na;b nan\n12\na;b 0x10\na;b "
         "2;\na;b -0.5\n"
         "a;b 99999999999999999999.5\na;b 2\n" +
             ten_lines,
         "a\n b 13\n"
         "10 lines skipped: 5 without a weight (lines 2, 5, 6, 8, 9), 2 with a negative weight (lines 3, "
         "10), 2 with a "
         "weight that is too large (lines 4, 11), 1 without a stack (line 7)\n"},
        {"more than the first few", "a;b 1\nx\nx\nx\nx\nx\nx\n" + ten_lines,
         "a\n b 11\n6 lines skipped: 6 without a weight (lines 2, 3, 4, 5, 6, ...)\n"},
    });
}

TEST(FoldedImporter, refuses_what_has_no_sample_or_wraps) {
    checkCases({
        {"a total that would wrap", "a;b 9223372036854775807\na;c 0\na;d 1\n",
         "file:3: the total weight would exceed 9223372036854775807"},
        {"a decimal total that would wrap", "a;b 9223372036854775000\na;c 9223372036854775000.5\n",
         "file:2: the total weight would exceed 9223372036854775807"},
    });
    EXPECT_EQ(importText("# nothing\na;b -1\na;b 0x2\n; 5x\n").message(),
              "file:2: this is no profile of a known format (V8 CPU profile, perf script, folded stacks)");
}

TEST(FoldedImporter, two_numbers_at_the_end_of_every_line_are_two_metrics) {
    checkCases({
        {"lines of one stack", "a;b 10 5\na;c 7 2\na;b 10 1\n", "a\n b 20 6\n c 7 2\n"},
        {"a frame that keeps its number, a terminator, blanks",
         "a;b 3;c 1 2\na;b; 3 4\na;b 3; 1 2\n; 5 6\na;x  y \t8  9\n",
         "a\n b 3 1 2\n  c 1 2\n b 3 4\n x  y 8 9\n[unknown] 5 6\n"},
        {"a last line with one number", "a;b 10 5\na;b 10 1\na;b 2\n", "a\n b 10 6\n b 2\n"},
        {"decimals", "a;b 0.5 1\na;b 0.5 0.25\n", "a\n b 1 1.25\n"},
        {"damaged lines",
         "a;b 10 5\na;b 0 0\na;b 0 0\nno weight\na;b -1 7\na;b 2 -7\na;b 3 4\nx;y 99999999999999999999 1\n",
         "a\n b 13 9\n4 lines skipped: 1 without a weight (line 4), 2 with a negative weight (lines 5, 6), 1 "
         "with a weight that is too large (line 8)\n"},
        {"a total that would wrap", "a;b 9223372036854775807 5\na;b 9223372036854775807 5\n",
         "file:2: the total weight would exceed 9223372036854775807"},
    });
}

TEST(FoldedImporter, counts_the_lines_that_a_record_stands_for) {
    const Imported imported = importText("a;b 1\nc 5\na;b 0\n");
    EXPECT_EQ(imported.profile.sample_counts, (std::vector<std::uint32_t>{2, 1}));
    EXPECT_EQ(imported.profile.metrics.at(0).integers, (std::vector<std::int64_t>{1, 5}));
    EXPECT_TRUE(imported.profile.times.empty());
    EXPECT_TRUE(imported.profile.sample_threads.empty());
    EXPECT_EQ(imported.report.records_read, 3u);
    EXPECT_EQ(imported.report.format, "folded stacks");
}

// Each line starts from the frames that it shares with the line before; whatever they share, the outcome must
// be that of each line alone.
TEST(FoldedImporter, sharing_frames_with_the_line_before_changes_nothing) {
    checkCases({
        {"one is the beginning of the other", "a;bc 1\na;b 2\na;bc;d 4\na;b;d 8\na 16\n",
         "a 16\n bc 1\n  d 4\n b 2\n  d 8\n"},
        {"the same again, with and without terminator", "a;b 1\na;b; 2\na;b 4\n", "a\n b 7\n"},
        {"blanks differ", "a;b;c 1\na; b;c 2\na;b ;c 4\n", "a\n b\n  c 7\n"},
        {"long shared texts", "aaaaaaaaaaaaaaaa;bbbbbbbbbbbbbbbb 1\naaaaaaaaaaaaaaaa;bbbbbbbbbbbbbbbc 2\n",
         "aaaaaaaaaaaaaaaa\n bbbbbbbbbbbbbbbb 1\n bbbbbbbbbbbbbbbc 2\n"},
    });
}

TEST(FoldedImporter, keeps_the_limits) {
    ImportLimits limits;
    limits.line_bytes = 40;
    limits.name_bytes = 5;
    limits.stack_frames = 4;
    const std::string text = "a;b 1\n" + std::string(41, ' ') +
                             "\nabcdef 1\na;b;abcdef 2\na;b;c;d;e 4\nabcde;b;c;d 8\n" + "a;b 1\na;b 1\n";
    const Imported imported = importText(text, limits);
    EXPECT_EQ(treeOf(imported), "a\n b 3\nabcde\n b\n  c\n   d 8\n");
    EXPECT_EQ(reportOf(imported),
              "4 lines skipped: 1 too long (line 2), 2 with a name that is too long (lines 3, 4), "
              "1 with a stack that is too deep (line 5)\n");

    limits = {};
    limits.stack_nodes = 4;
    EXPECT_EQ(importText("a;b 1\na;c 1\na;d 1\n", limits).message(),
              "file:3: there are too many different stacks or functions");
    limits = {};
    limits.text_bytes = 4;
    EXPECT_EQ(importText("a;bcd 1\na;e 1\n", limits).message(), "file:2: the names together are too long");
    limits = {};
    limits.unpacked_bytes = 10;
    EXPECT_EQ(importText("a;bcd 1\na;e 1\n", limits).message(), "file:3: the text is longer than 10 bytes");
}

TEST(FoldedImporter, survives_a_cut_anywhere) {
    checkEveryCut("# x\na;b 12.5\n\na;b;c_[k] 3\r\nbad\na;\xC3\xA4;; 4\n");
    checkEveryCut(std::string("\xFF\xFE"
                              "a\0;\0\x34\xD8\x1E\xDD \0001\0\r\0\n\0",
                              18));
}

} // namespace
} // namespace panedeck::engine::tests
