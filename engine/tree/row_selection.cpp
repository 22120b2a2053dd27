#include "tree/row_selection.h"

#include <boost/unordered/unordered_flat_map.hpp>

#include <algorithm>
#include <tuple>

namespace panedeck::engine {

namespace {

// From here on a number for each row of the tree up to the last one given costs less than a hash table.
bool isDense(const std::vector<RowIndex>& rows, RowIndex last) {
    return rows.size() > 1000 && rows.size() > last / 16;
}

/// Calls `use` with an array of numbers by row, all 0 at first.
template <class Use>
auto withNumbers(const std::vector<RowIndex>& rows, const Use& use) {
    const RowIndex last = rows.empty() ? 0 : *std::ranges::max_element(rows);
    if (isDense(rows, last)) return use(std::vector<std::uint32_t>(std::size_t{last} + 1));
    return use(boost::unordered_flat_map<RowIndex, std::uint32_t>());
}

void sortUnique(std::vector<RowIndex>& rows) {
    const RowIndex last = rows.empty() ? 0 : *std::ranges::max_element(rows);
    if (!isDense(rows, last)) {
        std::ranges::sort(rows);
        rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
        return;
    }
    std::vector<bool> given(std::size_t{last} + 1);
    for (const RowIndex row : rows)
        given[row] = true;
    rows.clear();
    for (RowIndex row = 0; row <= last; ++row)
        if (given[row]) rows.push_back(row);
}

/// What the outermost given row above a row has of it.
enum Cover : std::uint32_t { unknown, none, whole, total_only };

/// Tells how given rows cover those below them, and notes it for all rows on the way up. Rows are to be asked
/// for in ascending order: no row stands before the one above it.
template <class Marks>
class Covering {
public:
    Covering(const TableModel& model, Marks marks) : m_model(model), m_marks(std::move(marks)) {}

    /// The cover of a given row by another one.
    std::uint32_t of(RowIndex row) {
        RowIndex above = m_model.parentOf(row);
        for (; above != no_row && m_marks[above] == unknown; above = m_model.parentOf(above))
            m_line.push_back(above);
        const std::uint32_t cover = above == no_row ? std::uint32_t{none} : m_marks[above];
        for (; !m_line.empty(); m_line.pop_back())
            m_marks[m_line.back()] = cover;
        m_marks[row] = cover == none ? ownCover(row) : cover;
        return cover;
    }

private:
    /// A frame's self is what its own code took; what the frames that it calls took is not in it.
    std::uint32_t ownCover(RowIndex row) const {
        return m_model.rowLevel(row).segment == Segment::callees ? total_only : whole;
    }

    const TableModel& m_model;
    Marks m_marks;
    std::vector<RowIndex> m_line;
};

template <class Numbers>
RowPaths makePaths(const TableModel& model, const std::vector<RowIndex>& rows, Numbers numbers) {
    RowPaths paths;
    paths.results = model.results();
    std::vector<RowIndex> line;
    for (const RowIndex row : rows) {
        for (RowIndex above = row; above != no_row && numbers[above] == 0; above = model.parentOf(above))
            line.push_back(above);
        for (; !line.empty(); line.pop_back()) {
            const RowIndex parent = model.parentOf(line.back());
            const std::uint32_t above = parent == no_row ? RowPaths::top : numbers[parent] - 1;
            paths.nodes.push_back({model.rowLevel(line.back()), above, false});
            numbers[line.back()] = static_cast<std::uint32_t>(paths.nodes.size());
        }
        paths.nodes[numbers[row] - 1].is_row = true;
    }
    return paths;
}

} // namespace

SelectedRows splitSelection(const TableModel& model, std::vector<RowIndex> rows) {
    sortUnique(rows);
    return withNumbers(rows, [&](auto marks) {
        Covering covering(model, std::move(marks));
        SelectedRows selected;
        for (const RowIndex row : rows) {
            const std::uint32_t cover = covering.of(row);
            if (cover == none) selected.outermost.push_back(row);
            if (cover == total_only) selected.deeper_frames.push_back(row);
        }
        return selected;
    });
}

RowPaths pathsTo(const TableModel& model, const std::vector<RowIndex>& rows) {
    return withNumbers(rows, [&](auto numbers) { return makePaths(model, rows, std::move(numbers)); });
}

RowPaths ownLevels(const TableModel& model, const std::vector<RowIndex>& rows) {
    RowPaths paths;
    paths.results = model.results();
    for (const RowIndex row : rows) {
        RowLevel level = model.rowLevel(row);
        if (isRecursive(level.segment)) level.segment = Segment::function;
        paths.nodes.push_back({level, RowPaths::top, true});
    }
    const auto key = [](const RowPaths::Node& node) {
        return std::tuple(node.level.segment, node.level.result, node.level.value);
    };
    std::ranges::sort(paths.nodes, {}, key);
    const auto same = [&key](const auto& a, const auto& b) { return key(a) == key(b); };
    paths.nodes.erase(std::unique(paths.nodes.begin(), paths.nodes.end(), same), paths.nodes.end());
    return paths;
}

} // namespace panedeck::engine
