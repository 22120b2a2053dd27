#include "import/folded_line.h"

#include "import/text_lines.h"

namespace panedeck::engine {

const char* complaintOf(WeightStatus status) {
    switch (status) {
    case WeightStatus::ok:
        return nullptr;
    case WeightStatus::negative:
        return "with a negative weight";
    case WeightStatus::too_large:
        return "with a weight that is too large";
    case WeightStatus::not_a_number:
        break;
    }
    return "without a weight";
}

bool isFoldedComment(std::string_view line) {
    return line.starts_with('#') || trimmedLeft(line).empty();
}

const char* parseFoldedLine(std::string_view line, FoldedLine& parsed) {
    line = trimmed(line);
    std::size_t word = line.size();
    while (word > 0 && !isBlank(line[word - 1]))
        --word;
    if (const char* why = complaintOf(parseWeight(line.substr(word), parsed.weight))) return why;
    parsed.before_weight = trimmedRight(line.substr(0, word));
    parsed.stack = parsed.before_weight;
    if (parsed.stack.empty()) return "without a stack";
    if (parsed.stack.ends_with(';')) parsed.stack.remove_suffix(1);
    return nullptr;
}

} // namespace panedeck::engine
