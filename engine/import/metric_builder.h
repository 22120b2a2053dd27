#pragma once

#include "import/sample_weight.h"
#include "store/profile_data.h"

namespace panedeck::engine {

/// One metric while samples come in. Integers stay integers until the first fraction.
class MetricBuilder {
public:
    MetricBuilder(std::string name, MetricUnit unit) {
        m_column.name = std::move(name);
        m_column.unit = unit;
    }

    const std::string& name() const { return m_column.name; }
    void setUnit(MetricUnit unit) { m_column.unit = unit; }

    /// Adds to the weight of a record, which is a known one or new; records in between weigh 0. False if the
    /// total would leave the range of a signed 64-bit integer.
    bool add(std::size_t record, const SampleWeight& weight) {
        if (!m_column.is_integer || !weight.is_integer) return addDecimal(record, weight);
        if (__builtin_add_overflow(m_integer_total, weight.integer, &m_integer_total)) return false;
        if (record >= m_column.integers.size()) m_column.integers.resize(record + 1);
        m_column.integers[record] += weight.integer;
        return true;
    }

    /// The column with one weight for each of `records` records.
    MetricColumn take(std::size_t records);

private:
    bool addDecimal(std::size_t record, const SampleWeight& weight);
    void becomeDecimal();

    MetricColumn m_column;
    std::int64_t m_integer_total = 0;
    double m_decimal_total = 0;
};

} // namespace panedeck::engine
