#pragma once

#include "tree/table_model.h"

#include <array>
#include <atomic>
#include <mutex>
#include <vector>

namespace panedeck::engine {

/// The rows of two results side by side: rows of the same content (`ProfileStore::contentOf`) are one row,
/// what only one result has stands there with zeros for the other. A difference is the first result's number
/// less the second's; a column that has the three as children shows the difference.
class ComparedModel final : public TableModel {
public:
    /// Both of the same path, metrics in the same order.
    ComparedModel(RowTreeRequest first, RowTreeRequest second);

    bk2::error_code_t makeTopRows(notifykit2::IProgress* progress);
    const RowTree& firstRows() const { return m_first; }

    RowRange topRows() const override { return m_top_rows; }
    bool areChildrenAtHand(RowIndex row) const override;
    bk2::error_code_t children(RowIndex row, notifykit2::IProgress* progress, RowRange& range) const override;
    RowIndex parentOf(RowIndex row) const override { return m_rows[row]->parent; }
    std::size_t levelOf(RowIndex row) const override;
    bool value(RowIndex row, const ColumnContent& column, int contents, bk2::variant_t& value) const override;
    bk2::variant_t total(const ColumnContent& column) const override;
    std::vector<Weight> sumOfRows(std::span<const RowIndex> rows,
                                  std::span<const RowIndex> self_only) const override;
    bool valueOfSums(std::span<const Weight> sums, const ColumnContent& column, int contents,
                     bk2::variant_t& value) const override;
    RowLevel rowLevel(RowIndex row) const override;
    std::vector<std::shared_ptr<const ProfileStore>> results() const override;
    FrameScope scope() const override { return m_first.request().scope; }

private:
    static constexpr std::uint32_t not_made = static_cast<std::uint32_t>(-1);

    /// Either side may be `no_row`.
    struct Record {
        RowIndex parent;
        RowIndex first;
        RowIndex second;
        std::atomic<std::uint32_t> child_count;
        RowIndex first_child;
    };
    struct Pair {
        RowIndex first = no_row;
        RowIndex second = no_row;
    };

    RowRange merge(RowIndex parent, RowRange first, RowRange second) const;
    void sortPairs(std::vector<Pair>& pairs) const;
    DimensionValue firstValueOf(Segment segment, DimensionValue second_value) const;
    std::string_view textOf(const Pair& pair) const;
    std::string factText(const Pair& pair) const;
    bk2::variant_t number(const Weight* first, const Weight* second, std::size_t cell,
                          ColumnContent::Side side) const;
    bool weightValue(const Weight* first, const Weight* second, const ColumnContent& column, int contents,
                     bk2::variant_t& value) const;

    RowTree m_first;
    RowTree m_second;
    RowRange m_top_rows;
    mutable StableArray<Record> m_rows;
    mutable std::mutex m_making;
    /// The first result's entry for each of the second's, by dimension; `unknown_yet` until looked up,
    /// `not_there` if it has none.
    static constexpr DimensionValue unknown_yet = static_cast<DimensionValue>(-1);
    static constexpr DimensionValue not_there = static_cast<DimensionValue>(-2);
    mutable std::array<std::vector<DimensionValue>, dimension_count> m_translations;
};

} // namespace panedeck::engine
