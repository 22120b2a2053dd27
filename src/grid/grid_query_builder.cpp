#include "grid/grid_query_builder.h"

#include "basekit/assertion.h"
#include "grid/table_tree_query_steps.h"

namespace panedeck {

using bk2::error_code_t;
using bk2::variant_bag_t;
using bk2::variant_t;

namespace {

std::string ownText(const variant_bag_t& bag) {
    const auto* value = bag.get<variant_t>("");
    return value ? std::string(value->text()) : std::string();
}

} // namespace

error_code_t GridQueryBuilder::build(const variant_bag_t& bag) {
    for (auto children = bag.begin<variant_bag_t>(); !children.at_end(); children.next())
        if (const auto code = readSection(children.get_name(), children.get_value()); code.failed())
            return code;
    PANEDECK_REQUIRE(m_hasColumns, "hasColumns", bk2::kinds::is_not_valid_argument, "No columns specified");
    return settleGrouping();
}

error_code_t GridQueryBuilder::readSection(std::string_view key, const variant_bag_t& section) {
    if (key == "grouping") return readGrouping(section);
    if (key == "columns") return readColumns(section);
    if (key == "sorting") return readSorting(section);
    return error_code_t::success();
}

error_code_t GridQueryBuilder::readGrouping(const variant_bag_t& section) {
    PANEDECK_REQUIRE(!m_grouping, "!grouping", bk2::kinds::is_not_valid_argument,
                     "Multiple groupings specified");
    const std::string name = ownText(section);
    PANEDECK_REQUIRE(!name.empty(), "!name.empty()", bk2::kinds::is_not_valid_argument,
                     "Invalid grouping value");
    m_grouping = m_queryLibrary->findQuery(name);
    PANEDECK_REQUIRE(m_grouping, "grouping", bk2::kinds::failed_to_create_the_query, name);
    return error_code_t::success();
}

error_code_t GridQueryBuilder::readColumns(const variant_bag_t& section) {
    const variant_t expand = section.get_variant("expand", variant_t(true));
    PANEDECK_REQUIRE(expand.can_get<bool>(), "expand.can_get<bool>()", bk2::kinds::is_not_valid_argument,
                     "expand");
    for (auto column = section.begin_by_name<variant_bag_t>("column"); !column.at_end(); column.next())
        if (const auto code = addColumn(ownText(column.get_value()), expand.get<bool>()); code.failed())
            return code;
    return error_code_t::success();
}

error_code_t GridQueryBuilder::addColumn(const std::string& name, bool expand) {
    PANEDECK_REQUIRE(!name.empty(), "!name.empty()", bk2::kinds::is_not_valid_argument,
                     "Invalid column value");
    auto column = createVectorQuery(m_queryLibrary, name);
    PANEDECK_REQUIRE(column, "column", bk2::kinds::failed_to_create_the_query, name);
    if (!expand) PANEDECK_PASS_ON(removeExpansion(column));
    PANEDECK_PASS_ON(m_query->addColumnQuery(column));
    m_hasColumns = true;
    return error_code_t::success();
}

error_code_t GridQueryBuilder::readSorting(const variant_bag_t& section) {
    PANEDECK_REQUIRE(!m_hasSorting, "!hasSorting", bk2::kinds::is_not_valid_argument,
                     "Multiple sort specified");
    const std::string name = ownText(section);
    PANEDECK_REQUIRE(!name.empty(), "!name.empty()", bk2::kinds::is_not_valid_argument, "Invalid sort value");
    auto sorting = createVectorQuery(m_queryLibrary, name);
    PANEDECK_REQUIRE(sorting, "sorting", bk2::kinds::failed_to_create_the_query, name);
    PANEDECK_PASS_ON(removeExpansion(sorting));
    PANEDECK_PASS_ON(m_query->setSortQuery(sorting));
    m_hasSorting = true;
    return error_code_t::success();
}

error_code_t GridQueryBuilder::settleGrouping() {
    if (!m_grouping) {
        m_grouping = m_queryLibrary->getWellKnownGrouping("RootGrouping", 0);
        PANEDECK_REQUIRE(m_grouping, "grouping", bk2::kinds::failed_to_create_the_query, "RootGrouping");
    }
    const auto code = m_query->setGroupingQuery(m_grouping);
    if (code.failed()) bk2::report_failure(PANEDECK_ASSERTION_SITE("code.succeeded()"), code);
    PANEDECK_REQUIRE(code.succeeded(), "code.succeeded()", bk2::kinds::failed_to_set_the_query, "grouping");
    return error_code_t::success();
}

} // namespace panedeck
