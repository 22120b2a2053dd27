#include "import/folded_shape.h"

#include "import/folded_line.h"
#include "import/text_lines.h"

#include <algorithm>

namespace panedeck::engine {

namespace {

bool isNumber(std::string_view word) {
    SampleWeight unused;
    return parseWeight(word, unused) != WeightStatus::not_a_number;
}

/// The numbers among the blank-separated words of a line.
struct NumberCount {
    std::size_t all = 0;
    std::size_t at_end = 0; ///< behind the last word that is none
};

NumberCount countNumbers(std::string_view line) {
    NumberCount count;
    for (line = trimmedLeft(line); !line.empty(); line = trimmedLeft(line)) {
        const std::size_t size = std::min(line.find_first_of(blanks), line.size());
        const bool is_number = isNumber(line.substr(0, size));
        count.all += is_number;
        count.at_end = is_number ? count.at_end + 1 : 0;
        line.remove_prefix(size);
    }
    return count;
}

// A table ends in more numbers than a stack and its weights.
bool isStack(std::string_view line) {
    constexpr std::size_t most_weights = 2;
    FoldedLine parsed;
    return !parseFoldedLine(line, parsed) && countNumbers(line).at_end <= most_weights;
}

// A name and a weight. Tables of numbers have no name in front, and the names of settings end otherwise.
bool isSingleFrame(std::string_view line) {
    constexpr std::string_view number_beginnings = "0123456789+-*.";
    FoldedLine parsed;
    if (parseFoldedLine(line, parsed)) return false;
    return number_beginnings.find(parsed.stack.front()) == number_beginnings.npos &&
           !parsed.stack.ends_with(':') && !parsed.stack.ends_with('=') &&
           line.find_first_of(",\t") == line.npos && countNumbers(line).all == 1;
}

} // namespace

// Stacks of a single frame look like so much else that they count only if all lines without `;` are like
// that.
FormatScore scoreFoldedStacks(const TextBeginning& beginning) {
    std::string_view text = beginning.text;
    std::string_view line;
    FormatScore stacks;
    FormatScore single_frames;
    while (takeLine(text, beginning.is_complete, line)) {
        if (isFoldedComment(line)) continue;
        const bool has_semicolon = line.find(';') != line.npos;
        FormatScore& kind = has_semicolon ? stacks : single_frames;
        ++kind.lines;
        kind.understood += has_semicolon ? isStack(line) : isSingleFrame(line);
    }
    const std::size_t lines = stacks.lines + single_frames.lines;
    // Not a single whole line in all this text: only a very deep stack is written like that.
    if (lines == 0) return {text.find(';') != text.npos, 1};
    if (single_frames.understood < single_frames.lines) single_frames.understood = 0;
    return {stacks.understood + single_frames.understood, lines};
}

} // namespace panedeck::engine
