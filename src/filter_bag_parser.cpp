#include "filter_bag_parser.h"

#include "basekit/assertion.h"
#include "dataface/query.h"

#include <charconv>
#include <string>
#include <string_view>

namespace panedeck {

using bk2::error_code_t;
using bk2::sptr_t;
using bk2::variant_bag_t;
using bk2::variant_t;
using dataface1::IQueryFilterBuilder;

namespace {

constexpr char referenceNotSupported[] =
    "Filter reference on 2+ levels or not under AND group is not supported";

/// No row has it: the id that a text which is no number stands for.
constexpr bk2::s64_t noRowId = -1;

error_code_t pass(const error_code_t& code) {
    if (code.failed()) bk2::report_failure(PANEDECK_ASSERTION_SITE("code.succeeded()"), code);
    return code;
}

bool isInverted(const variant_bag_t& bag) {
    const auto* invert = bag.get<variant_t>("invert");
    return invert && invert->is_numeric() && invert->get<double>() != 0;
}

variant_t rowIdFromText(std::string_view text) {
    bk2::s32_t id = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), id);
    const bool isNumber = error == std::errc() && end == text.data() + text.size();
    return variant_t(isNumber ? bk2::s64_t(id) : noRowId);
}

/// Walks a filter bag. The bags that are open stand on a stack of its own, since panes may nest them at will.
class FilterBagParser {
public:
    FilterBagParser(const sptr_t<dataface1::IQueryLibrary>& queryLibrary,
                    const sptr_t<IQueryFilterBuilder>& builder, bool valueMode, filter_bag_content_t& content)
        : m_queryLibrary(queryLibrary), m_builder(builder), m_valueMode(valueMode), m_content(content) {}

    error_code_t parse(const variant_bag_t& config);

private:
    using child_iterator_t = variant_bag_t::iterator<const variant_bag_t>;

    struct open_bag_t {
        child_iterator_t children;
        int level;
        bool inAndGroup; ///< as the last group among the children visited so far left it
        bool isGroup;    ///< the builder's group ends with this bag
    };

    error_code_t enter(const variant_bag_t& bag, int level, bool inAndGroup, bool isGroup);
    error_code_t addReference(const variant_bag_t& bag, std::string_view name, int level, bool inAndGroup);
    error_code_t visit(std::string_view key, const variant_bag_t& child);
    error_code_t enterGroup(bool isAnd, const variant_bag_t& child);
    error_code_t leave(bool isGroup);
    error_code_t addItem(const variant_bag_t& item);
    error_code_t readRow(const variant_bag_t& item, variant_t& value) const;

    const sptr_t<dataface1::IQueryLibrary>& m_queryLibrary;
    const sptr_t<IQueryFilterBuilder>& m_builder;
    bool m_valueMode;
    filter_bag_content_t& m_content;
    std::vector<open_bag_t> m_open;
};

error_code_t FilterBagParser::parse(const variant_bag_t& config) {
    if (const auto code = enter(config, 0, true, false); code.failed()) return code;
    while (!m_open.empty()) {
        child_iterator_t& children = m_open.back().children;
        if (children.at_end()) {
            const bool isGroup = m_open.back().isGroup;
            m_open.pop_back();
            if (const auto code = leave(isGroup); code.failed()) return code;
            continue;
        }
        const variant_bag_t& child = children.get_value();
        const std::string_view key = children.get_name();
        children.next();
        if (const auto code = visit(key, child); code.failed()) return code;
    }
    return error_code_t::success();
}

// A reference is complete in itself; any other bag is opened for the walk.
error_code_t FilterBagParser::enter(const variant_bag_t& bag, int level, bool inAndGroup, bool isGroup) {
    const auto* reference = bag.get<variant_t>("reference");
    if (!reference || !reference->is_narrow_text()) {
        m_open.push_back({bag.begin<variant_bag_t>(), level, inAndGroup, isGroup});
        return error_code_t::success();
    }
    if (const auto code = addReference(bag, reference->text(), level, inAndGroup); code.failed()) return code;
    return leave(isGroup);
}

error_code_t FilterBagParser::addReference(const variant_bag_t& bag, std::string_view name, int level,
                                           bool inAndGroup) {
    PANEDECK_REQUIRE(level <= 1 && inAndGroup, "referenceVar && (level <= 1) && inAndGroup",
                     bk2::kinds::is_not_valid_argument, referenceNotSupported);
    m_content.references.emplace_back(name, isInverted(bag));
    return error_code_t::success();
}

error_code_t FilterBagParser::visit(std::string_view key, const variant_bag_t& child) {
    if (key == "and" || key == "or") return pass(enterGroup(key == "and", child));
    if (key == "item") return pass(addItem(child));
    if (key == "filter") return pass(enter(child, m_open.back().level, m_open.back().inAndGroup, false));
    if (key == "type") {
        const auto* name = child.get<variant_t>("");
        if (name && name->is_narrow_text()) m_content.references.emplace_back(name->text(), false);
    }
    return error_code_t::success();
}

// A `filter` further on in the same bag is read as if it stood in the group that was visited last.
error_code_t FilterBagParser::enterGroup(bool isAnd, const variant_bag_t& child) {
    m_open.back().inAndGroup = isAnd;
    const auto code =
        m_builder->beginGroup(isAnd ? IQueryFilterBuilder::group_and : IQueryFilterBuilder::group_or);
    if (code.failed()) return code;
    return enter(child, m_open.back().level + 1, isAnd, true);
}

error_code_t FilterBagParser::leave(bool isGroup) {
    return isGroup ? pass(m_builder->endGroup()) : error_code_t::success();
}

error_code_t FilterBagParser::addItem(const variant_bag_t& item) {
    const auto* groupingBag = item.get<variant_bag_t>("grouping");
    PANEDECK_REQUIRE(groupingBag, "groupingBag", bk2::kinds::failed_to_get_the_object, "item.grouping");
    const auto* groupingVar = groupingBag->get<variant_t>("");
    PANEDECK_REQUIRE(groupingVar && groupingVar->is_narrow_text(), "groupingVar",
                     bk2::kinds::failed_to_get_the_object, "item.grouping is not string");
    const std::string grouping(groupingVar->text());
    PANEDECK_EXPECT(!grouping.empty(), "!grouping.empty()");

    variant_t rowValue;
    if (const auto code = readRow(item, rowValue); code.failed()) return code;
    const auto query = m_queryLibrary ? m_queryLibrary->findQuery(grouping) : nullptr;
    PANEDECK_REQUIRE(query, "query", bk2::kinds::failed_to_get_the_object,
                     "invalid query specified: " + grouping);
    if (const auto code = emitQueryExpr(m_builder, query, dataface1::filter_equal, rowValue); code.failed())
        return code;
    m_content.isEmpty = false;
    return error_code_t::success();
}

error_code_t FilterBagParser::readRow(const variant_bag_t& item, variant_t& value) const {
    const auto* rowBag = item.get<variant_bag_t>("row");
    PANEDECK_REQUIRE(rowBag, "rowBag", bk2::kinds::failed_to_get_the_object, "item.row");
    value = rowBag->get_variant("");
    if (m_valueMode || value.is_numeric() || value.is_null()) return error_code_t::success();
    PANEDECK_REQUIRE(value.is_narrow_text(), "value.is_narrow_text()", bk2::kinds::failed_to_get_the_object,
                     "item.row has invalid type");
    value = rowIdFromText(value.text());
    return error_code_t::success();
}

} // namespace

error_code_t parseFilterConfig(const variant_bag_t& config,
                               const sptr_t<dataface1::IQueryLibrary>& queryLibrary,
                               const sptr_t<IQueryFilterBuilder>& builder, bool valueMode,
                               filter_bag_content_t& content) {
    PANEDECK_REQUIRE(builder, "builder", bk2::kinds::is_not_valid_argument, "builder");
    return FilterBagParser(queryLibrary, builder, valueMode, content).parse(config);
}

error_code_t emitQueryExpr(const sptr_t<IQueryFilterBuilder>& builder, const sptr_t<dataface1::IQuery>& query,
                           dataface1::filter_expr_opcode_t opcode, const variant_t& value) {
    PANEDECK_REQUIRE(builder, "builder", bk2::kinds::is_not_valid_argument, "builder");
    PANEDECK_REQUIRE(query, "query", bk2::kinds::is_not_valid_argument, "query");
    if (const auto vector = dataface1::IVectorQuery::cast(query)) {
        if (const auto code = builder->beginGroup(IQueryFilterBuilder::group_or); code.failed()) return code;
        const auto members = vector->getQueryIterator();
        for (; members && !members->at_end(); members->next())
            if (const auto code = emitQueryExpr(builder, members->current(), opcode, value); code.failed())
                return code;
        return builder->endGroup();
    }
    const auto infoQuery = dataface1::IInfoQuery::cast(query);
    PANEDECK_REQUIRE(infoQuery, "infoQuery", bk2::kinds::failed_to_get_the_object, "infoQuery");
    return builder->addExpression(infoQuery, opcode, value);
}

} // namespace panedeck
