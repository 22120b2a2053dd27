#include "dataface/save_table_tree.h"

#include "basekit/assertion.h"
#include "basekit/variant_bag_xml.h"
#include "dataface/column_walk.h"
#include "dataface/formatter.h"

#include <string>
#include <utility>
#include <vector>

namespace dataface1 {

namespace {

using bk2::error_code_t;
using bk2::variant_bag_t;
using bk2::variant_t;
using row_iterator_t = bk2::iterator_ptr_t<bk2::sptr_t<ITableRow>>;

/// A frame is shorter than this, so no bag whose text is longer can be sent.
constexpr std::uint64_t max_frame_size = 100ull << 20;

error_code_t iteration_error(notifykit2::IProgress* progress, const char* what) {
    if (notifykit2::is_canceled(progress)) return error_code_t::canceled();
    PANEDECK_REQUIRE(false, "iterator", bk2::kinds::failed_to_get_the_object, what);
    return error_code_t::success();
}

void save_column(const IColumnInfo& column, const std::string& id, variant_bag_t& bag) {
    bag.put<variant_t>("id", variant_t(id));
    bag.put<variant_t>("caption", variant_t(getColumnName(column)));
    bag.put<variant_t>("flags", variant_t(bk2::u32_t(column.getFlags())));
    bag.put<variant_t>("format", variant_t(getFormat(column, nullptr)));
    const auto query = throughVector(column.getQuery());
    if (query && query->getValueType() == query_value_type_t::time)
        bag.put<variant_t>("timeUnit", query->getAttribute("timeUnit", variant_t(1.0)));
}

variant_bag_t& columns_bag(variant_bag_t& parent) {
    if (auto* existing = parent.get<variant_bag_t>("columns")) return *existing;
    variant_bag_t& columns = parent.add_variant_bag("columns");
    columns.put<variant_t>("arrayOf", variant_t("column"));
    return columns;
}

/// Writes the columns in preorder; `path` holds the bags of the columns above the present one.
void save_columns(const std::vector<column_place_t>& places, variant_bag_t& answer) {
    columns_bag(answer);
    std::vector<variant_bag_t*> path = {&answer};
    for (std::size_t index = 0; index < places.size(); ++index) {
        path.resize(places[index].depth + 1);
        variant_bag_t& bag = columns_bag(*path.back()).add_variant_bag("column");
        save_column(*places[index].column, "c" + std::to_string(index), bag);
        path.push_back(&bag);
    }
}

/// Writes rows into a bag and knows how long their XML is.
class RowWriter {
public:
    RowWriter(const std::vector<column_place_t>& places, variant_bag_t& rows) : m_rows(rows) {
        for (std::size_t index = 0; index < places.size(); ++index)
            m_columns.push_back({places[index].column.get(), "c" + std::to_string(index)});
    }

    void write(const ITableRow& row, std::size_t level);
    bool fits_frame() const { return m_size < max_frame_size; }

private:
    struct cell_t {
        const IColumnInfo* column;
        std::string name;
    };

    std::vector<cell_t> m_columns;
    variant_bag_t& m_rows;
    variant_t m_value;
    std::uint64_t m_size = 0;
};

void RowWriter::write(const ITableRow& row, std::size_t level) {
    variant_bag_t& bag = m_rows.add_variant_bag("row");
    bag.append_value("level", variant_t(bk2::u32_t(level)));
    bag.reserve_children(1);
    variant_bag_t& cells = bag.add_variant_bag("cells");
    cells.reserve_children(m_columns.size());
    for (const cell_t& cell : m_columns) {
        variant_bag_t& target = cells.add_variant_bag(cell.name);
        if (row.getValue(cell.column, cell_value, m_value) && !m_value.is_null())
            target.append_value("value", variant_t(m_value));
    }
    m_size += bk2::get_xml_size(bag, "row");
}

error_code_t save_rows(const ITableTree& tree, RowWriter& writer, std::uint64_t first_row,
                       notifykit2::IProgress* progress, std::uint32_t limit) {
    std::vector<row_iterator_t> open;
    open.push_back(tree.getRows(progress));
    for (std::uint64_t passed = 0; !open.empty();) {
        if (notifykit2::is_canceled(progress)) return error_code_t::canceled();
        if (!open.back()) return iteration_error(progress, "rows");
        if (open.back()->at_end()) {
            open.pop_back();
            continue;
        }
        if (passed >= first_row && passed - first_row == limit) return error_code_t::nothing_done();
        const auto row = open.back()->current();
        open.back()->next();
        if (passed++ >= first_row) writer.write(*row, open.size() - 1);
        PANEDECK_REQUIRE(writer.fits_frame(), "writer.fits_frame()", bk2::kinds::is_not_valid_data,
                         "Response size exceeds 100MB limit");
        row_iterator_t children;
        if (row->getChildRows(children, progress, true) == ITreeNode::ecsfError)
            return iteration_error(progress, "child rows");
        if (children) open.push_back(std::move(children));
    }
    return error_code_t::success();
}

} // namespace

error_code_t saveTableTreeToVBag(const bk2::sptr_t<ITableTree>& tree, variant_bag_t& answer,
                                 std::uint64_t first_row, notifykit2::IProgress* progress,
                                 std::uint32_t limit) {
    PANEDECK_REQUIRE(tree, "tree", bk2::kinds::is_not_valid_argument, "tree");
    std::vector<column_place_t> places;
    if (!collect_columns(*tree, progress, places)) return iteration_error(progress, "columns");
    save_columns(places, answer);
    variant_bag_t& rows = answer.add_variant_bag("rows");
    rows.put<variant_t>("arrayOf", variant_t("row"));
    RowWriter writer(places, rows);
    return save_rows(*tree, writer, first_row, progress, limit);
}

} // namespace dataface1
