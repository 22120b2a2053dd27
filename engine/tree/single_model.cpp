#include "tree/single_model.h"

#include "dataface/table_tree.h"

namespace panedeck::engine {

bool SingleModel::weightValue(const Weight* cells, const ColumnContent& column, int contents,
                              bk2::variant_t& value) const {
    switch (contents) {
    case dataface1::cell_value:
        value = toVariant(cells[column.cell], m_rows.isIntegerCell(column.cell));
        return true;
    case dataface1::cell_percent_base:
        value = column.has_base_cell
                    ? toVariant(cells[column.base_cell], m_rows.isIntegerCell(column.base_cell))
                    : total(column);
        return true;
    // Weights are counted or measured, never estimated.
    case dataface1::cell_reliability:
        value = bk2::variant_t(1);
        return true;
    case dataface1::cell_issue_mask:
        value = bk2::variant_t(bk2::u32_t{0});
        return true;
    default:
        return false;
    }
}

bool SingleModel::value(RowIndex row, const ColumnContent& column, int contents,
                        bk2::variant_t& value) const {
    if (column.kind == ColumnContent::Kind::weight)
        return weightValue(m_rows.cells(row), column, contents, value);
    if (contents == dataface1::cell_value) {
        value = column.kind == ColumnContent::Kind::grouping
                    ? m_rows.textOf(row)
                    : m_rows.factOf(m_rows.segmentOf(row), m_rows.valueOf(row), column.fact);
        return true;
    }
    if (contents != dataface1::cell_object_id || column.kind != ColumnContent::Kind::grouping) return false;
    value = bk2::variant_t(bk2::s64_t{m_rows.objectOf(row)});
    return true;
}

bk2::variant_t SingleModel::total(const ColumnContent& column) const {
    const RowTreeRequest& request = m_rows.request();
    if (column.kind != ColumnContent::Kind::weight) return {};
    const std::size_t metric = request.metrics[column.metric];
    return toVariant(request.store->sumOfMetric(metric), request.store->isIntegerMetric(metric));
}

bool SingleModel::valueOfSums(std::span<const Weight> sums, const ColumnContent& column, int contents,
                              bk2::variant_t& value) const {
    return column.kind == ColumnContent::Kind::weight && weightValue(sums.data(), column, contents, value);
}

RowLevel SingleModel::rowLevel(RowIndex row) const {
    return {m_rows.segmentOf(row), 0, m_rows.valueOf(row)};
}

std::vector<std::shared_ptr<const ProfileStore>> SingleModel::results() const {
    return {m_rows.request().store};
}

} // namespace panedeck::engine
