#include "import/folded_importer.h"

#include "import/folded_line.h"
#include "import/folded_stack.h"
#include "import/line_reader.h"
#include "import/text_lines.h"

namespace panedeck::engine {

namespace {

// Tables of numbers, which other profilers write, have no names in front.
bool looksLikeName(std::string_view stack) {
    constexpr std::string_view number_beginnings = "0123456789+-*.";
    return number_beginnings.find(stack.front()) == number_beginnings.npos;
}

} // namespace

// A stack of several frames with a weight is proof enough; without one half of the lines must be a name and a
// weight, or prose that mentions a number would do.
bool FoldedImporter::recognises(const TextBeginning& beginning) const {
    std::string_view text = beginning.text;
    std::string_view line;
    std::size_t data_lines = 0;
    std::size_t weighted_lines = 0;
    while (takeLine(text, beginning.is_complete, line)) {
        if (isFoldedComment(line)) continue;
        ++data_lines;
        FoldedLine parsed;
        if (parseFoldedLine(line, parsed)) continue;
        if (parsed.stack.find(';') != parsed.stack.npos) return true;
        weighted_lines += looksLikeName(parsed.stack);
    }
    // Not a single whole line in all this text: only a very deep stack is written like that.
    if (data_lines == 0) return text.find(';') != text.npos;
    return weighted_lines > 0 && 2 * weighted_lines >= data_lines;
}

ImportOutcome FoldedImporter::import(TextInput& input, ProfileBuilder& builder, ImportReport& report) const {
    LineReader lines(input);
    FoldedStackWalk stacks(builder, input.limits());
    const MetricIndex metric = builder.metric("weight").value_or(0);
    while (lines.next()) {
        const char* why = lines.is_too_long() ? "too long" : nullptr;
        if (!why && isFoldedComment(lines.line())) continue;
        FoldedLine parsed;
        if (!why) why = parseFoldedLine(lines.line(), parsed);
        if (!why) why = stacks.check(parsed.stack);
        if (why) {
            report.skip(why, lines.number());
            continue;
        }
        builder.addMerged(stacks.walk(parsed.stack), metric, parsed.weight);
        ++report.records_read;
        if (builder.failure()) return ImportOutcome::refused(lines.number(), builder.failure());
    }
    return lines.stopped().value_or(ImportOutcome::done());
}

} // namespace panedeck::engine
