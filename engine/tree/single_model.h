#pragma once

#include "tree/table_model.h"

namespace panedeck::engine {

/// The rows of one result.
class SingleModel final : public TableModel {
public:
    explicit SingleModel(RowTreeRequest request) : m_rows(std::move(request)) {}

    bk2::error_code_t makeTopRows(notifykit2::IProgress* progress) { return m_rows.makeTopRows(progress); }
    const RowTree& rows() const { return m_rows; }

    RowRange topRows() const override { return m_rows.topRows(); }
    bool areChildrenAtHand(RowIndex row) const override { return m_rows.areChildrenAtHand(row); }
    bk2::error_code_t children(RowIndex row, notifykit2::IProgress* progress,
                               RowRange& range) const override {
        return m_rows.children(row, progress, range);
    }
    RowIndex parentOf(RowIndex row) const override { return m_rows.parentOf(row); }
    std::size_t levelOf(RowIndex row) const override { return m_rows.levelOf(row); }
    bool value(RowIndex row, const ColumnContent& column, int contents, bk2::variant_t& value) const override;
    bk2::variant_t total(const ColumnContent& column) const override;
    std::vector<Weight> sumOfRows(std::span<const RowIndex> rows,
                                  std::span<const RowIndex> self_only) const override {
        return m_rows.sumOfRows(rows, self_only);
    }
    bool valueOfSums(std::span<const Weight> sums, const ColumnContent& column, int contents,
                     bk2::variant_t& value) const override;
    RowLevel rowLevel(RowIndex row) const override;
    std::vector<std::shared_ptr<const ProfileStore>> results() const override;
    FrameScope scope() const override { return m_rows.request().scope; }

private:
    bool weightValue(const Weight* cells, const ColumnContent& column, int contents,
                     bk2::variant_t& value) const;

    RowTree m_rows;
};

} // namespace panedeck::engine
