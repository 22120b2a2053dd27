#include "import/folded_importer.h"

#include "import/folded_line.h"
#include "import/folded_second_weight.h"
#include "import/folded_shape.h"
#include "import/folded_stack.h"
#include "import/line_reader.h"

namespace panedeck::engine {

FormatScore FoldedImporter::score(const TextBeginning& beginning) const {
    return scoreFoldedStacks(beginning);
}

ImportOutcome FoldedImporter::import(TextInput& input, ProfileBuilder& builder, ImportReport& report) const {
    LineReader lines(input);
    FoldedStackWalk stacks(builder, input.limits());
    FoldedSecondWeight second_weight;
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
        second_weight.note(parsed.before_weight, lines.number());
        ++report.records_read;
        if (builder.failure()) return ImportOutcome::refused(lines.number(), builder.failure());
    }
    if (const auto stopped = lines.stopped()) return *stopped;
    if (second_weight.is_there())
        if (const char* why = second_weight.split(builder, input.limits(), report))
            return ImportOutcome::refused(lines.number(), why);
    report.lines_understood = report.records_read;
    report.lines_lost = report.skipped_total();
    return ImportOutcome::done();
}

} // namespace panedeck::engine
