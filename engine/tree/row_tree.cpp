#include "tree/row_tree.h"

#include "tree/row_maker.h"

#include <fmt/format.h>

#include <algorithm>

namespace panedeck::engine {

namespace {

// Every row has two numbers for each of them, and a person reads them side by side.
constexpr std::size_t most_expanded_values = 128;

bk2::variant_t fullName(const ProfileStore& store, FunctionIndex function) {
    if (function == 0) return {};
    const FunctionRecord& record = store.data().functions[function];
    std::string text = store.data().names[record.name];
    if (record.module != 0) text = store.data().modules[record.module] + "!" + text;
    if (record.source_file != 0) {
        text += " - [" + store.data().source_files[record.source_file];
        if (record.line != 0) text += ":" + std::to_string(record.line);
        text += "]";
    }
    return bk2::variant_t(text);
}

/// Each row stands for all that the profile has of one value.
bool isFlat(const RowTreeRequest& request) {
    return request.path.size() == 1 && !isRecursive(request.path.front()) && !request.focus;
}

bool hasSampleLevel(const GroupingPath& path) {
    return std::ranges::any_of(path, [](Segment segment) { return isSampleLevel(dimensionOf(segment)); });
}

} // namespace

RowTree::RowTree(RowTreeRequest request)
    : m_request(std::move(request)), m_cells_per_row(2 * m_request.metrics.size()),
      m_has_objects(!isFlat(m_request)), m_has_slices(hasSampleLevel(m_request.path)),
      m_slices(m_request.store, m_request.metrics, m_request.filter) {}

bk2::error_code_t RowTree::makeTopRows(notifykit2::IProgress* progress) {
    const std::lock_guard lock(m_making);
    for (const MetricExpansion& wanted : m_request.expansions) {
        Expansion expansion;
        expansion.first_cell = m_cells_per_row;
        const auto error = m_slices.partsOf(0, wanted.dimension, progress, expansion.parts);
        if (error.failed()) return error;
        if (expansion.parts->size() > most_expanded_values)
            return bk2::error_code_t::failure(
                fmt::format("A metric can be shown by at most {} values, not by {}", most_expanded_values,
                            expansion.parts->size()));
        m_cells_per_row += 2 * expansion.parts->size();
        m_expansions.push_back(expansion);
    }
    m_cells = StableArray<Weight>(m_cells_per_row);
    return RowMaker(*this, progress).makeTopRows(m_top_rows);
}

bool RowTree::areChildrenAtHand(RowIndex row) const {
    return m_rows[row]->child_count.load(std::memory_order_acquire) != not_made;
}

bk2::error_code_t RowTree::children(RowIndex row, notifykit2::IProgress* progress, RowRange& range) const {
    Record& record = *m_rows[row];
    std::uint32_t count = record.child_count.load(std::memory_order_acquire);
    if (count == not_made) {
        const std::lock_guard lock(m_making);
        count = record.child_count.load(std::memory_order_relaxed);
        if (count == not_made) {
            const auto error = RowMaker(*this, progress).makeChildren(row, range);
            if (error.failed()) return error;
            record.first_child = range.first;
            record.child_count.store(range.count, std::memory_order_release);
            return {};
        }
    }
    range = {count == 0 ? 0 : record.first_child, count};
    return {};
}

const bk2::variant_t& RowTree::textOf(RowIndex row) const {
    return m_request.store->texts(dimensionOf(segmentOf(row))).text(valueOf(row));
}

bk2::variant_t RowTree::factOf(Segment segment, DimensionValue value, FunctionFact fact) const {
    const ProfileStore& store = *m_request.store;
    const Dimension dimension = dimensionOf(segment);
    const Dimension wanted = fact == FunctionFact::source_file ? Dimension::source_file : Dimension::module;
    if (fact != FunctionFact::full_name && dimension == wanted) return store.texts(wanted).text(value);
    if (dimension != Dimension::function) return {};
    if (fact == FunctionFact::full_name) return fullName(store, value);
    return store.texts(wanted).text(store.valueOfFunction(wanted, value));
}

std::vector<DimensionValue> RowTree::expansionValues(std::size_t expansion) const {
    std::vector<DimensionValue> values;
    for (const SliceTable::Part& part : *m_expansions[expansion].parts)
        values.push_back(part.value);
    return values;
}

bool RowTree::isIntegerCell(std::size_t cell) const {
    std::size_t metric = cell / 2;
    for (std::size_t i = 0; i < m_expansions.size(); ++i)
        if (cell >= m_expansions[i].first_cell) metric = m_request.expansions[i].metric;
    return isIntegerMetric(metric);
}

std::vector<Weight> RowTree::sumOfRows(std::span<const RowIndex> rows,
                                       std::span<const RowIndex> self_only) const {
    std::vector<Weight> sums(m_cells_per_row, zeroWeight());
    std::vector<std::uint8_t> is_integer(sums.size());
    for (std::size_t cell = 0; cell < sums.size(); ++cell)
        is_integer[cell] = isIntegerCell(cell);
    for (const RowIndex row : rows)
        for (std::size_t cell = 0; cell < sums.size(); ++cell)
            add(sums[cell], m_cells[row][cell], is_integer[cell]);
    // Totals and selves take turns.
    for (const RowIndex row : self_only)
        for (std::size_t cell = cellOf(0, WeightKind::self); cell < sums.size(); cell += 2)
            add(sums[cell], m_cells[row][cell], is_integer[cell]);
    return sums;
}

} // namespace panedeck::engine
