#include "frame_reader.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace panedeck {
namespace {

/// What comes out for a sequence of reads; "!" stands for a frame that was too long.
std::vector<std::string> frames_of(FrameReader& reader, std::string_view bytes, std::size_t step) {
    std::vector<std::string> frames;
    for (std::size_t begin = 0; begin < bytes.size(); begin += step) {
        reader.append(bytes.substr(begin, step));
        while (auto frame = reader.next())
            frames.push_back(frame->kind == FrameReader::Frame::Kind::complete ? frame->text : "!");
    }
    return frames;
}

struct Case {
    const char* what;
    std::string bytes;
    std::vector<std::string> frames;
};

std::string filler(std::size_t size) {
    return std::string(size, 'a');
}

class FrameReaderTest : public testing::TestWithParam<std::size_t> {};

/// With a limit of 100 bytes, in reads of each size: where reads are cut never changes what comes out.
TEST_P(FrameReaderTest, CutsFrames) {
    const std::string good = "<msg>1</msg>";
    const std::vector<Case> cases = {
        {"two frames", "<msg>1</msg><msg>2</msg>", {"<msg>1</msg>", "<msg>2</msg>"}},
        {"no end yet", "<msg>1</msg><msg>2</ms", {"<msg>1</msg>"}},
        {"a prefix belongs to the frame", "\x0B x<msg>1</msg>", {"\x0B x<msg>1</msg>"}},
        {"near ends", "<</</m</ms</msg</msg></msg>", {"<</</m</ms</msg</msg>", "</msg>"}},
        {"as long as allowed", (filler(94) += "</msg>") + good, {(filler(94) += "</msg>"), good}},
        {"one too long", (filler(95) += "</msg>") + good, {"!", good}},
        {"no end at all", filler(1000), {"!"}},
        {"no end, then a good one", "<msg>" + filler(1000) + good, {"!", good}},
        {"the last start counts", filler(1000) + "<msg><msg>2" + good, {"!", good}},
        {"twice in a row", filler(1000) + good + filler(500) + "</msg>" + good, {"!", good, "!", good}},
        {"a start far before the end",
         filler(500) + "<msg>" + filler(60) + "</msg>",
         {"!", "<msg>" + filler(60) + "</msg>"}},
        {"starts that lead nowhere", filler(500) + "<msg>" + filler(500) + "<ms" + good, {"!", good}},
    };
    for (const Case& each : cases) {
        FrameReader reader(100);
        EXPECT_EQ(frames_of(reader, each.bytes, GetParam()), each.frames) << each.what;
    }
}

INSTANTIATE_TEST_SUITE_P(ReadSizes, FrameReaderTest, testing::Values(1, 2, 3, 5, 7, 16, 100, 101, 4096));

TEST(FrameReader, KnowsWhatIsLeftOfALostConnection) {
    FrameReader reader(100);
    frames_of(reader, "<msg>1</msg><msg>ha", 1);
    reader.connection_lost();
    reader.append("<msg>2</msg><msg>3</msg>");
    const auto first = reader.next();
    ASSERT_TRUE(first);
    EXPECT_EQ(first->text, "<msg>ha<msg>2</msg>");
    EXPECT_EQ(first->leftover, 7u);
    const auto second = reader.next();
    ASSERT_TRUE(second);
    EXPECT_EQ(second->text, "<msg>3</msg>");
    EXPECT_EQ(second->leftover, 0u);
}

TEST(FrameReader, LeftoverNeverMakesAGoodFrameTooLong) {
    FrameReader reader(100);
    frames_of(reader, filler(80), 80);
    reader.connection_lost();
    const std::string frame = "<msg>" + filler(80) + "</msg>";
    EXPECT_EQ(frames_of(reader, frame, 10), std::vector<std::string>{frame});
}

} // namespace
} // namespace panedeck
