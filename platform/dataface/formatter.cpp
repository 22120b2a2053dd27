#include "dataface/formatter.h"

#include "dataface/number_format.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace dataface1 {

namespace {

constexpr std::string_view known_formats[] = {"time",        "count",   "bytes",      "number",
                                              "hexadecimal", "percent", "percent_by", "text"};

bool is_known(std::string_view format) {
    return std::find(std::begin(known_formats), std::end(known_formats), format) != std::end(known_formats);
}

/// The formats of a kind of value, its own first.
std::vector<std::string> formats_of(query_value_type_t type) {
    switch (type) {
    case query_value_type_t::time:
        return {"time", "number", "percent"};
    case query_value_type_t::integer:
        return {"number", "count", "hexadecimal", "percent"};
    case query_value_type_t::number:
        return {"number", "count", "percent"};
    case query_value_type_t::address:
        return {"hexadecimal", "number"};
    case query_value_type_t::bytes:
        return {"bytes", "count", "percent"};
    case query_value_type_t::count:
        return {"count", "number", "percent"};
    case query_value_type_t::text:
        break;
    }
    return {"text"};
}

std::string format_attribute(const IQuery& query) {
    const std::string format(query.getAttribute("format", bk2::variant_t()).text());
    return is_known(format) ? format : std::string();
}

std::string default_format(const bk2::sptr_t<IQuery>& query) {
    if (!query) return "text";
    const std::string asked = format_attribute(*query);
    return asked.empty() ? formats_of(query->getValueType()).front() : asked;
}

double seconds_per_unit(const bk2::sptr_t<IQuery>& query) {
    if (!query) return 1;
    const double unit = Formatter::varToDouble(query->getAttribute("timeUnit", bk2::variant_t(1.0)));
    return unit > 0 ? unit : 1;
}

} // namespace

Formatter::Formatter(const bk2::sptr_t<IQuery>& query)
    : m_format(default_format(throughVector(query))),
      m_seconds_per_unit(seconds_per_unit(throughVector(query))) {}

bool Formatter::setCurrentFormat(const std::string& format) {
    if (!is_known(format)) return false;
    m_format = format;
    return true;
}

double Formatter::greatest_beside(double value) const {
    return m_total_maximum > 0 ? m_total_maximum : std::fabs(value);
}

void Formatter::format(const bk2::variant_t& value, std::string& text) const {
    const double number = varToDouble(value);
    if (!value.is_numeric() || m_format == "text")
        text = bk2::get_value_string(value);
    else if (m_format == "time")
        text = time_text(number * m_seconds_per_unit, greatest_beside(number) * m_seconds_per_unit);
    else if (m_format == "bytes")
        text = bytes_text(number, greatest_beside(number));
    else if (m_format == "count")
        text = count_text(value);
    else if (m_format == "hexadecimal")
        text = hexadecimal_text(value);
    else if (m_format == "number")
        text = number_text(value);
    else
        text = m_sum_of_values.is_null() ? std::string() : percent_text(number, varToDouble(m_sum_of_values));
}

bool Formatter::isPercentFormat(std::string_view format) {
    return format == "percent" || format == "percent_by";
}

std::vector<std::string> Formatter::getAvailableFormats(const bk2::sptr_t<IQuery>& query) {
    const auto own_query = throughVector(query);
    if (!own_query) return {"text"};
    std::vector<std::string> formats = formats_of(own_query->getValueType());
    if (!own_query->getPercentBaseMetrics().empty()) formats.push_back("percent_by");
    const std::string own = default_format(own_query);
    std::erase(formats, own);
    formats.insert(formats.begin(), own);
    return formats;
}

std::vector<std::string> Formatter::getQueryFormats(const bk2::sptr_t<IQuery>& query) {
    std::vector<std::string> formats;
    bool asks = false;
    for (auto level = query; level; level = level->getLevelBelow()) {
        const auto level_query = throughVector(level);
        if (!IInfoQuery::cast(level_query)) break;
        asks = asks || !format_attribute(*level_query).empty();
        formats.push_back(default_format(level_query));
    }
    return asks ? formats : std::vector<std::string>();
}

double Formatter::varToDouble(const bk2::variant_t& value) {
    return value.can_get<double>() ? value.get<double>() : 0;
}

} // namespace dataface1
