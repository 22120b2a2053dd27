#include "tree/compared_model.h"

#include "dataface/table_tree.h"

#include <algorithm>
#include <unordered_map>

namespace panedeck::engine {

ComparedModel::ComparedModel(RowTreeRequest first, RowTreeRequest second)
    : m_first(std::move(first)), m_second(std::move(second)) {}

bk2::error_code_t ComparedModel::makeTopRows(notifykit2::IProgress* progress) {
    if (auto error = m_first.makeTopRows(progress); error.failed()) return error;
    if (auto error = m_second.makeTopRows(progress); error.failed()) return error;
    const std::lock_guard lock(m_making);
    m_top_rows = merge(no_row, m_first.topRows(), m_second.topRows());
    return {};
}

bool ComparedModel::areChildrenAtHand(RowIndex row) const {
    const Record& record = *m_rows[row];
    if (record.child_count.load(std::memory_order_acquire) != not_made) return true;
    // Rows that both sides have made, or know not to be there, are merged in no time.
    return (record.first == no_row || m_first.areChildrenAtHand(record.first)) &&
           (record.second == no_row || m_second.areChildrenAtHand(record.second));
}

bk2::error_code_t ComparedModel::children(RowIndex row, notifykit2::IProgress* progress,
                                          RowRange& range) const {
    Record& record = *m_rows[row];
    std::uint32_t count = record.child_count.load(std::memory_order_acquire);
    if (count == not_made) {
        const std::lock_guard lock(m_making);
        count = record.child_count.load(std::memory_order_relaxed);
        if (count == not_made) {
            RowRange first, second;
            if (record.first != no_row)
                if (auto error = m_first.children(record.first, progress, first); error.failed())
                    return error;
            if (record.second != no_row)
                if (auto error = m_second.children(record.second, progress, second); error.failed())
                    return error;
            range = merge(row, first, second);
            record.first_child = range.first;
            record.child_count.store(range.count, std::memory_order_release);
            return {};
        }
    }
    range = {count == 0 ? 0 : record.first_child, count};
    return {};
}

DimensionValue ComparedModel::firstValueOf(Segment segment, DimensionValue second_value) const {
    const Dimension dimension = dimensionOf(segment);
    auto& translation = m_translations[static_cast<int>(dimension)];
    const ProfileStore& second = *m_second.request().store;
    if (translation.empty()) translation.assign(second.valueCount(dimension), unknown_yet);
    DimensionValue& value = translation[second_value];
    if (value == unknown_yet)
        value = m_first.request()
                    .store->findContent(dimension, second.contentOf(dimension, second_value))
                    .value_or(not_there);
    return value;
}

RowRange ComparedModel::merge(RowIndex parent, RowRange first, RowRange second) const {
    std::vector<Pair> pairs;
    std::unordered_map<DimensionValue, std::size_t> by_value;
    for (RowIndex row = first.first; row < first.first + first.count; ++row) {
        by_value[m_first.valueOf(row)] = pairs.size();
        pairs.push_back({row, no_row});
    }
    for (RowIndex row = second.first; row < second.first + second.count; ++row) {
        const auto found = by_value.find(firstValueOf(m_second.segmentOf(row), m_second.valueOf(row)));
        if (found == by_value.end())
            pairs.push_back({no_row, row});
        else
            pairs[found->second].second = row;
    }
    sortPairs(pairs);

    const RowRange range{m_rows.append(static_cast<std::uint32_t>(pairs.size())),
                         static_cast<std::uint32_t>(pairs.size())};
    for (std::uint32_t i = 0; i < range.count; ++i) {
        auto* record = new (m_rows[range.first + i]) Record;
        record->parent = parent;
        record->first = pairs[i].first;
        record->second = pairs[i].second;
        record->first_child = 0;
        record->child_count.store(not_made, std::memory_order_relaxed);
    }
    return range;
}

std::string_view ComparedModel::textOf(const Pair& pair) const {
    return pair.first != no_row ? m_first.textOf(pair.first).text() : m_second.textOf(pair.second).text();
}

std::string ComparedModel::factText(const Pair& pair) const {
    const RowOrder& order = m_first.request().order;
    if (!order.fact) return {};
    const RowTree& rows = pair.first != no_row ? m_first : m_second;
    const RowIndex row = pair.first != no_row ? pair.first : pair.second;
    return std::string(rows.factOf(rows.segmentOf(row), rows.valueOf(row), *order.fact).text());
}

void ComparedModel::sortPairs(std::vector<Pair>& pairs) const {
    struct Keyed {
        Pair pair;
        bk2::variant_t number;
        std::string fact;
        std::string_view text;
    };
    const RowOrder& order = m_first.request().order;
    const std::size_t cell = RowTree::cellOf(order.metric, order.kind);
    std::vector<Keyed> keyed;
    for (const Pair& pair : pairs) {
        const Weight* first = pair.first == no_row ? nullptr : m_first.cells(pair.first);
        const Weight* second = pair.second == no_row ? nullptr : m_second.cells(pair.second);
        bk2::variant_t key;
        if (!order.by_text) key = number(first, second, cell, ColumnContent::Side::difference);
        keyed.push_back({pair, std::move(key), factText(pair), textOf(pair)});
    }
    // Stable: rows that nothing tells apart stay in the order of their results.
    std::ranges::stable_sort(keyed, [](const Keyed& a, const Keyed& b) {
        if (a.number != b.number) return a.number > b.number;
        return a.fact != b.fact ? a.fact < b.fact : a.text < b.text;
    });
    std::ranges::transform(keyed, pairs.begin(), &Keyed::pair);
}

std::size_t ComparedModel::levelOf(RowIndex row) const {
    const Record& record = *m_rows[row];
    return record.first != no_row ? m_first.levelOf(record.first) : m_second.levelOf(record.second);
}

bk2::variant_t ComparedModel::number(const Weight* first, const Weight* second, std::size_t cell,
                                     ColumnContent::Side side) const {
    const auto read = [cell](const RowTree& rows, const Weight* cells) {
        return toVariant(cells ? cells[cell] : zeroWeight(), rows.isIntegerCell(cell));
    };
    if (side == ColumnContent::Side::first) return read(m_first, first);
    if (side == ColumnContent::Side::second) return read(m_second, second);
    const bk2::variant_t a = read(m_first, first), b = read(m_second, second);
    // Weights are not negative, so the difference of two integers fits.
    if (a.is_integer() && b.is_integer()) return bk2::variant_t(a.get<bk2::s64_t>() - b.get<bk2::s64_t>());
    return bk2::variant_t(a.get<double>() - b.get<double>());
}

bool ComparedModel::weightValue(const Weight* first, const Weight* second, const ColumnContent& column,
                                int contents, bk2::variant_t& value) const {
    switch (contents) {
    case dataface1::cell_value:
        value = number(first, second, column.cell, column.side);
        return true;
    case dataface1::cell_percent_base:
        value = column.has_base_cell ? number(first, second, column.base_cell, column.side) : total(column);
        return true;
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

bool ComparedModel::value(RowIndex row, const ColumnContent& column, int contents,
                          bk2::variant_t& value) const {
    const Record& record = *m_rows[row];
    if (column.kind == ColumnContent::Kind::weight)
        return weightValue(record.first == no_row ? nullptr : m_first.cells(record.first),
                           record.second == no_row ? nullptr : m_second.cells(record.second), column,
                           contents, value);
    // Numbers of entries mean different things in the two results.
    if (contents != dataface1::cell_value) return false;
    const RowTree& rows = record.first != no_row ? m_first : m_second;
    const RowIndex own = record.first != no_row ? record.first : record.second;
    value = column.kind == ColumnContent::Kind::grouping
                ? rows.textOf(own)
                : rows.factOf(rows.segmentOf(own), rows.valueOf(own), column.fact);
    return true;
}

bk2::variant_t ComparedModel::total(const ColumnContent& column) const {
    if (column.kind != ColumnContent::Kind::weight) return {};
    const auto total_of = [&column](const RowTree& rows) {
        const std::size_t metric = rows.request().metrics[column.metric];
        return rows.request().store->sumOfMetric(metric);
    };
    // The numbers of a metric stand in the same cells as in a row.
    const std::size_t cells = m_first.cellsPerRow();
    std::vector<Weight> first(cells, total_of(m_first)), second(cells, total_of(m_second));
    const std::size_t cell = RowTree::cellOf(column.metric, WeightKind::total);
    if (column.side != ColumnContent::Side::difference)
        return number(first.data(), second.data(), cell, column.side);
    // What differences are measured by: how much the totals differ themselves would turn signs around, or be
    // 0.
    const bk2::variant_t base = number(first.data(), second.data(), cell, ColumnContent::Side::first);
    if (base.get<double>() != 0) return base;
    return number(first.data(), second.data(), cell, ColumnContent::Side::second);
}

std::vector<Weight> ComparedModel::sumOfRows(std::span<const RowIndex> rows,
                                             std::span<const RowIndex> self_only) const {
    const auto in = [this](std::span<const RowIndex> given, RowIndex Record::*side) {
        std::vector<RowIndex> found;
        for (const RowIndex row : given)
            if (m_rows[row]->*side != no_row) found.push_back(m_rows[row]->*side);
        return found;
    };
    std::vector<Weight> sums = m_first.sumOfRows(in(rows, &Record::first), in(self_only, &Record::first));
    const std::vector<Weight> of_second =
        m_second.sumOfRows(in(rows, &Record::second), in(self_only, &Record::second));
    sums.insert(sums.end(), of_second.begin(), of_second.end());
    return sums;
}

bool ComparedModel::valueOfSums(std::span<const Weight> sums, const ColumnContent& column, int contents,
                                bk2::variant_t& value) const {
    return column.kind == ColumnContent::Kind::weight &&
           weightValue(sums.data(), sums.data() + m_first.cellsPerRow(), column, contents, value);
}

RowLevel ComparedModel::rowLevel(RowIndex row) const {
    const Record& record = *m_rows[row];
    if (record.first != no_row) return {m_first.segmentOf(record.first), 0, m_first.valueOf(record.first)};
    return {m_second.segmentOf(record.second), 1, m_second.valueOf(record.second)};
}

std::vector<std::shared_ptr<const ProfileStore>> ComparedModel::results() const {
    return {m_first.request().store, m_second.request().store};
}

} // namespace panedeck::engine
