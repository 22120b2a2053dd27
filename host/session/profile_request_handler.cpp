#include "session/profile_request_handler.h"

#include "basekit/variant_bag.h"
#include "result_summary.h"

#include <array>

namespace panedeck::host {

namespace {

using bk2::variant_bag_t;
using bk2::variant_t;

constexpr char metricsPath[] = "/Metrics";

variant_bag_t& addArray(variant_bag_t& bag, const char* name, const char* itemName) {
    variant_bag_t& array = bag.add_variant_bag(name);
    array.put("arrayOf", variant_t(itemName));
    return array;
}

void putUnlessEmpty(variant_bag_t& bag, const char* name, const std::string& text) {
    if (!text.empty()) bag.put(name, variant_t(text));
}

const char* textOf(engine::MetricUnit unit) {
    static constexpr std::array texts{"count", "nanoseconds", "microseconds", "bytes"};
    return texts[static_cast<std::size_t>(unit)];
}

/// The name of the query of the metric that stands first.
std::string primaryQuery(const dataface1::IQueryLibrary& library) {
    const auto metrics = dataface1::IVectorQuery::cast(library.findQuery(metricsPath));
    const auto first = metrics ? metrics->getUnderlyingQuery() : nullptr;
    return first ? first->getName() : "";
}

void addMetric(variant_bag_t& metrics, const engine::MetricSummary& metric,
               const dataface1::IQueryLibrary& library) {
    const std::string queryName = std::string(metricsPath) + "/" + metric.name;
    const auto query = library.findQuery(queryName);
    variant_bag_t& bag = metrics.add_variant_bag("metric");
    bag.put("id", variant_t(metric.name));
    bag.put("name", variant_t(query ? query->getDisplayName() : metric.name));
    bag.put("unit", variant_t(textOf(metric.unit)));
    bag.put("total", metric.total);
    bag.put("isPrimary", variant_t(queryName == primaryQuery(library)));
}

// "without a weight" becomes "line without a weight"; some reasons name what they are of.
std::string textOfReason(const std::string& reason, const std::string& unit) {
    if (reason.starts_with("with") || reason.starts_with("too")) return unit + " " + reason;
    return reason.starts_with("neither") ? unit + " that is " + reason : reason;
}

void addSkipped(variant_bag_t& result, const engine::ImportNotes& notes) {
    if (notes.skipped.empty()) return;
    variant_bag_t& skipped = result.add_variant_bag("skipped");
    skipped.put("count", variant_t(bk2::u64_t{notes.skipped_total()}));
    skipped.put("unit", variant_t(notes.position_unit));
    variant_bag_t& reasons = addArray(skipped, "reasons", "reason");
    for (const engine::CountedReason& counted : notes.skipped) {
        variant_bag_t& reason = reasons.add_variant_bag("reason");
        reason.put("text", variant_t(textOfReason(counted.reason, notes.position_unit)));
        reason.put("count", variant_t(bk2::u64_t{counted.count}));
        variant_bag_t& lines = addArray(reason, "firstLines", "line");
        for (const std::uint64_t position : counted.first_positions)
            lines.add_variant_bag("line").put("", variant_t(bk2::u64_t{position}));
    }
}

void addResult(variant_bag_t& results, const bk2::sptr_t<dataface1::IInputData>& input,
               const dataface1::IQueryLibrary& library) {
    const engine::ResultSummary summary = engine::summarizeResult(input);
    variant_bag_t& result = results.add_variant_bag("result");
    putUnlessEmpty(result, "name", summary.facts.name);
    putUnlessEmpty(result, "source", summary.facts.source);
    putUnlessEmpty(result, "taken", summary.facts.taken);
    result.put("samples", variant_t(bk2::u64_t{summary.samples}));
    variant_bag_t& metrics = addArray(result, "metrics", "metric");
    for (const engine::MetricSummary& metric : summary.metrics)
        addMetric(metrics, metric, library);
    addSkipped(result, summary.facts.notes);
}

} // namespace

std::string ProfileRequestHandler::getDomainName() {
    return "profile";
}

bk2::error_code_t ProfileRequestHandler::handleRequest(const std::string& operation, const variant_bag_t&,
                                                       variant_bag_t& response, notifykit2::IProgress*) {
    if (operation != "summary")
        return bk2::error_code_t::raise(bk2::kinds::failed_to_process_this_operation, operation);
    variant_bag_t& results = addArray(response, "results", "result");
    for (const auto& input : {m_results.first, m_results.second})
        if (input) addResult(results, input, *m_results.library);
    return {};
}

} // namespace panedeck::host
