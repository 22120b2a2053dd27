#include "profile_summary.h"

#include <fmt/format.h>

namespace panedeck::cli {

namespace {

using bk2::variant_bag_t;
using bk2::variant_t;

// The JSON reader calls the elements of arrays so.
constexpr char item[] = "item";

std::string text_of(const variant_bag_t& bag, const char* name) {
    const variant_t* value = bag.get<variant_t>(name);
    return value ? bk2::get_value_string(*value) : std::string();
}

template <class Take>
void for_each_item(const variant_bag_t& bag, const char* array, const Take& take) {
    const variant_bag_t* items = bag.get<variant_bag_t>(array);
    if (!items) return;
    for (auto child = items->begin_by_name<variant_bag_t>(item); !child.at_end(); child.next())
        take(child.get_value());
}

bk2::s64_t count_in(const variant_bag_t& bag) {
    const variant_t count = bag.get_variant("count");
    return count.can_get<bk2::s64_t>() ? count.get<bk2::s64_t>() : 0;
}

/// `2 times "line without a weight" (3, 6)`
std::string reason_text(const variant_bag_t& reason) {
    const bk2::s64_t count = count_in(reason);
    std::string positions;
    bk2::s64_t told = 0;
    for_each_item(reason, "firstLines", [&](const variant_bag_t& position) {
        positions += (told++ ? ", " : "") + text_of(position, "");
    });
    return fmt::format("{} \"{}\" ({}{})", count == 1 ? "once" : fmt::format("{} times", count),
                       text_of(reason, "text"), positions, count > told ? ", …" : "");
}

/// `3 lines of NAME were skipped: 2 times "line without a weight" (3, 6), once "line with …" (9).`
std::string sentence_of(const variant_bag_t& result, const variant_bag_t& skipped) {
    const bk2::s64_t count = count_in(skipped);
    std::string reasons;
    for_each_item(skipped, "reasons", [&](const variant_bag_t& reason) {
        reasons += (reasons.empty() ? "" : ", ") + reason_text(reason);
    });
    return fmt::format("{} {}{} of {} skipped: {}.", count, text_of(skipped, "unit"), count == 1 ? "" : "s",
                       text_of(result, "name") + (count == 1 ? " was" : " were"), reasons);
}

} // namespace

ProfileSummary read_profile_summary(const variant_bag_t& answer) {
    ProfileSummary summary;
    for_each_item(answer, "results", [&](const variant_bag_t& result) {
        for_each_item(result, "metrics", [&](const variant_bag_t& metric) {
            summary.units.emplace(text_of(metric, "name"), text_of(metric, "unit"));
        });
        if (const variant_bag_t* skipped = result.get<variant_bag_t>("skipped"))
            summary.sentences.push_back(sentence_of(result, *skipped));
    });
    return summary;
}

} // namespace panedeck::cli
