#include "tree/row_sums.h"

#include <algorithm>

namespace panedeck::engine {

std::vector<RowIndex> withoutDescendants(const TableModel& model, std::vector<RowIndex> rows) {
    std::ranges::sort(rows);
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    // A row's number is greater than its parent's: one pass tells who stands below a given row.
    std::vector<bool> is_covered(rows.empty() ? 0 : rows.back() + 1);
    std::vector<RowIndex> result;
    std::size_t next = 0;
    for (RowIndex row = 0; row < is_covered.size(); ++row) {
        const RowIndex parent = model.parentOf(row);
        is_covered[row] = parent != no_row && is_covered[parent];
        if (row != rows[next]) continue;
        ++next;
        if (!is_covered[row]) result.push_back(row);
        is_covered[row] = true;
    }
    return result;
}

} // namespace panedeck::engine
