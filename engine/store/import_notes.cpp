#include "store/import_notes.h"

namespace panedeck::engine {

namespace {

std::uint64_t total(const std::vector<CountedReason>& reasons) {
    std::uint64_t sum = 0;
    for (const CountedReason& reason : reasons)
        sum += reason.count;
    return sum;
}

std::string positionsText(const CountedReason& reason, const std::string& unit) {
    std::string text = "(" + unit + (reason.count > 1 ? "s " : " ");
    for (std::size_t i = 0; i < reason.first_positions.size(); ++i)
        text += (i ? ", " : "") + std::to_string(reason.first_positions[i]);
    if (reason.count > reason.first_positions.size()) text += ", ...";
    return text + ")";
}

} // namespace

std::uint64_t ImportNotes::skipped_total() const {
    return total(skipped);
}

std::vector<std::string> ImportNotes::messages() const {
    std::vector<std::string> lines;
    if (!skipped.empty()) lines.push_back(message(skipped, "skipped"));
    if (!adjusted.empty()) lines.push_back(message(adjusted, "adjusted"));
    return lines;
}

std::string ImportNotes::message(const std::vector<CountedReason>& reasons, std::string_view what) const {
    const std::uint64_t sum = total(reasons);
    std::string text = std::to_string(sum) + " " + position_unit + (sum > 1 ? "s " : " ");
    text += what;
    text += ": ";
    for (std::size_t i = 0; i < reasons.size(); ++i) {
        if (i) text += ", ";
        text += std::to_string(reasons[i].count) + " " + reasons[i].reason + " " +
                positionsText(reasons[i], position_unit);
    }
    return text;
}

} // namespace panedeck::engine
