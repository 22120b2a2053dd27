#include "import/import_report.h"

#include <algorithm>

namespace panedeck::engine {

namespace {

constexpr std::size_t positions_kept = 5;

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

std::uint64_t ImportReport::skipped_total() const {
    return total(skipped);
}

std::vector<std::string> ImportReport::messages() const {
    std::vector<std::string> lines;
    if (!skipped.empty()) lines.push_back(message(skipped, "skipped"));
    if (!adjusted.empty()) lines.push_back(message(adjusted, "adjusted"));
    return lines;
}

void ImportReport::addSkipped(const ImportReport& other) {
    for (const CountedReason& added : other.skipped) {
        CountedReason& reason = find(skipped, added.reason);
        reason.count += added.count;
        std::vector<std::uint64_t>& positions = reason.first_positions;
        positions.insert(positions.end(), added.first_positions.begin(), added.first_positions.end());
        std::ranges::sort(positions);
        if (positions.size() > positions_kept) positions.resize(positions_kept);
    }
}

CountedReason& ImportReport::find(std::vector<CountedReason>& reasons, std::string_view reason) {
    const auto found = std::ranges::find(reasons, reason, &CountedReason::reason);
    return found == reasons.end() ? reasons.emplace_back(std::string(reason)) : *found;
}

void ImportReport::count(std::vector<CountedReason>& reasons, std::string_view reason,
                         std::uint64_t position) {
    CountedReason& counted = find(reasons, reason);
    ++counted.count;
    if (counted.first_positions.size() < positions_kept) counted.first_positions.push_back(position);
}

std::string ImportReport::message(const std::vector<CountedReason>& reasons, std::string_view what) const {
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
