#include "dataface/formatter.h"

#include "dataface/number_format.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

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
    : m_format(default_format(throughVector(query))), m_kind(kind_of(m_format)),
      m_seconds_per_unit(seconds_per_unit(throughVector(query))) {}

bool Formatter::setCurrentFormat(const std::string& format) {
    if (!is_known(format)) return false;
    m_format = format;
    m_kind = kind_of(format);
    return true;
}

double Formatter::greatest_beside(double value) const {
    return m_total_maximum > 0 ? m_total_maximum : std::fabs(value);
}

Formatter::kind_t Formatter::kind_of(std::string_view format) {
    if (isPercentFormat(format)) return kind_t::percent;
    constexpr std::pair<std::string_view, kind_t> kinds[] = {{"time", kind_t::time},
                                                             {"count", kind_t::count},
                                                             {"bytes", kind_t::bytes},
                                                             {"number", kind_t::number},
                                                             {"hexadecimal", kind_t::hexadecimal}};
    for (const auto& [name, kind] : kinds)
        if (format == name) return kind;
    return kind_t::text;
}

void Formatter::format(const bk2::variant_t& value, std::string& text) const {
    if (!value.is_numeric()) return write_plain(text, value);
    const double number = varToDouble(value);
    switch (m_kind) {
    case kind_t::time:
        return write_time(text, number * m_seconds_per_unit, greatest_beside(number) * m_seconds_per_unit);
    case kind_t::bytes:
        return write_bytes(text, number, greatest_beside(number));
    case kind_t::count:
        return write_count(text, value);
    case kind_t::hexadecimal:
        return write_hexadecimal(text, value);
    case kind_t::number:
        return write_number(text, value);
    case kind_t::percent:
        text.clear();
        if (!m_sum_of_values.is_null()) write_percent(text, number, varToDouble(m_sum_of_values));
        return;
    case kind_t::text:
        return write_plain(text, value);
    }
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
