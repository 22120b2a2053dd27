#include "grid_answer.h"

#include "quantity.h"
#include "text_table.h"

#include <vector>

namespace panedeck::cli {

namespace {

using bk2::variant_bag_t;
using bk2::variant_t;

constexpr int deepest_column = 8;

using Units = std::map<std::string, std::string>;

struct Column {
    std::string id;
    std::string heading;
    std::string unit;
};

std::string value_text(const variant_bag_t& bag, const char* name) {
    const variant_t* value = bag.get<variant_t>(name);
    return value ? bk2::get_value_string(*value) : std::string();
}

/// A child column often says its parent's name itself. The full name of a grouping is the path that requests
/// use.
std::string heading_of(const variant_bag_t& column, const std::string& above) {
    const std::string full_name = value_text(column, "fullName");
    const bool is_path = full_name.starts_with('/');
    const std::string name = full_name.empty() || is_path ? value_text(column, "caption") : full_name;
    return above.empty() || name.starts_with(above) ? name : above + " / " + name;
}

/// The unit of the metric whose name the heading begins with; what follows is the column's own. The longest
/// name wins.
std::string unit_of(const std::string& heading, const Units& units) {
    std::string unit;
    std::size_t longest = 0;
    for (const auto& [name, its_unit] : units) {
        const std::string rest = heading.starts_with(name) ? heading.substr(name.size()) : "no";
        const bool fits = rest.empty() || rest.front() == ':' || rest.front() == ' ';
        if (!fits || name.size() < longest) continue;
        longest = name.size();
        unit = its_unit;
    }
    return unit;
}

/// The columns that hold values: a column with children is only their heading.
void collect_columns(const variant_bag_t& columns, const std::string& above, const Units& units,
                     std::vector<Column>& found, int level) {
    for (auto child = columns.begin_by_name<variant_bag_t>("column"); !child.at_end(); child.next()) {
        const variant_bag_t& column = child.get_value();
        const std::string heading = heading_of(column, above);
        const variant_bag_t* nested = column.get<variant_bag_t>("columns");
        const bool is_heading =
            nested && nested->count<variant_bag_t>("column") > 0 && level < deepest_column;
        if (is_heading)
            collect_columns(*nested, heading, units, found, level + 1);
        else
            found.push_back({value_text(column, "id"), heading, unit_of(heading, units)});
    }
}

std::vector<std::string> cells_of(const variant_bag_t& row, const std::vector<Column>& columns) {
    std::vector<std::string> texts;
    const variant_bag_t* cells = row.get<variant_bag_t>("cells");
    for (const Column& column : columns) {
        const variant_bag_t* cell = cells ? cells->get<variant_bag_t>(column.id) : nullptr;
        const variant_t* value = cell ? cell->get<variant_t>("value") : nullptr;
        texts.push_back(value ? quantity_text(*value, column.unit) : std::string());
    }
    return texts;
}

} // namespace

variant_bag_t function_table_request(unsigned limit) {
    variant_bag_t request;
    request.put("queryType", variant_t("flatProfile"));
    request.put("limit", variant_t(std::to_string(limit)));
    request.put_own_value("grouping", "RootGrouping");
    request.add_variant_bag("columns").put_own_value("column", "/Metrics");
    return request;
}

bk2::error_code_t grid_answer_as_text(const variant_bag_t& answer, const Units& units, std::string& text) {
    if (answer.is_empty()) {
        text = "The profile has no rows.\n";
        return bk2::error_code_t::success();
    }
    const variant_bag_t* columns_bag = answer.get<variant_bag_t>("columns");
    const variant_bag_t* rows = answer.get<variant_bag_t>("rows");
    const variant_t* full = answer.get_own_value("fullContent");
    if (!columns_bag || !rows || !full) return bk2::error_code_t::failure("the answer holds no table");

    std::vector<Column> columns;
    collect_columns(*columns_bag, "", units, columns, 0);
    std::vector<std::string> headings;
    for (const Column& column : columns) {
        headings.push_back(column.heading);
    }
    TextTable table(headings);
    for (auto row = rows->begin_by_name<variant_bag_t>("row"); !row.at_end(); row.next()) {
        table.add_row(cells_of(row.get_value(), columns));
    }
    text = table.text();
    if (full->can_get<bool>() && !full->get<bool>()) text += "… and more rows\n";
    return bk2::error_code_t::success();
}

} // namespace panedeck::cli
