#include "import/metric_builder.h"

namespace panedeck::engine {

bool MetricBuilder::addDecimal(std::size_t record, const SampleWeight& weight) {
    if (m_column.is_integer) becomeDecimal();
    constexpr double limit = 9223372036854775808.0;
    m_decimal_total += weight.as_decimal();
    if (m_decimal_total >= limit) return false;
    if (record >= m_column.decimals.size()) m_column.decimals.resize(record + 1);
    m_column.decimals[record] += weight.as_decimal();
    return true;
}

void MetricBuilder::becomeDecimal() {
    m_column.is_integer = false;
    m_column.decimals.assign(m_column.integers.begin(), m_column.integers.end());
    m_column.integers = {};
    m_decimal_total = static_cast<double>(m_integer_total);
}

MetricColumn MetricBuilder::take(std::size_t records) {
    if (m_column.is_integer)
        m_column.integers.resize(records);
    else
        m_column.decimals.resize(records);
    return std::move(m_column);
}

} // namespace panedeck::engine
