#include "import/import_report.h"

#include <algorithm>

namespace panedeck::engine {

namespace {

constexpr std::size_t positions_kept = 5;

} // namespace

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

} // namespace panedeck::engine
