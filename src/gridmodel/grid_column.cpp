#include "basekit/assertion.h"
#include "dataface/formatter.h"
#include "gridmodel/bars.h"
#include "gridmodel/child_columns.h"
#include "gridmodel/gridcolumn.h"
#include "gridmodel/query_attributes.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace panedeck {

using bk2::sptr_t;
using bk2::variant_t;
using dataface1::Formatter;
using dataface1::IColumnInfo;
using dataface1::IDerivedQuery;
using dataface1::IInfoQuery;
using dataface1::IQuery;

namespace {

/// The flags in which columns of one query differ.
constexpr std::uint32_t distinguishingFlags =
    dataface1::column_self | dataface1::column_total | dataface1::column_value_kinds;

/// What ends a column's internal name where a unit of measure follows.
constexpr char unitMark[] = "[UNIT";

unit_of_measure_t unitOfValueType(dataface1::query_value_type_t type) {
    switch (type) {
    case dataface1::query_value_type_t::time:
        return unit_of_measure_t::time;
    case dataface1::query_value_type_t::count:
        return unit_of_measure_t::count;
    case dataface1::query_value_type_t::bytes:
        return unit_of_measure_t::bytes;
    default:
        return unit_of_measure_t::none;
    }
}

/// What the values of a column are measures of. An info query below a metric stands for one of its values: it
/// has the unit of the column above. Null if there is none.
sptr_t<IQuery> measuredQuery(const IColumnInfo& columnInfo) {
    sptr_t<IColumnInfo> column(const_cast<IColumnInfo*>(&columnInfo));
    for (; column; column = column->getParentColumn()) {
        const auto query = dataface1::throughVector(column->getQuery());
        if (!query || dataface1::ITimeQuery::cast(query) || !IInfoQuery::cast(query)) return query;
    }
    return nullptr;
}

unit_of_measure_t unitOf(const sptr_t<IQuery>& measured) {
    if (!measured) return unit_of_measure_t::none;
    if (dataface1::ITimeQuery::cast(measured)) return unit_of_measure_t::time;
    return unitOfValueType(measured->getValueType());
}

/// How many seconds the number 1 stands for; 1 for what is no time.
double scaleOf(const sptr_t<IQuery>& measured) {
    if (unitOf(measured) != unit_of_measure_t::time) return 1;
    const double seconds = Formatter::varToDouble(measured->getAttribute("timeUnit", variant_t(1.0)));
    return std::isfinite(seconds) && seconds > 0 ? seconds : 1;
}

bool isFarther(const variant_t& a, const variant_t& b) {
    return std::fabs(Formatter::varToDouble(a)) > std::fabs(Formatter::varToDouble(b));
}

} // namespace

GridColumn::GridColumn(int index, sptr_t<IColumnInfo> columnInfo,
                       std::shared_ptr<dataface1::ITableTreeHelper> helper, std::string versionText,
                       std::string extraVersionText, const portkit2::catalog_t* catalog)
    : m_index(index), m_id("c" + std::to_string(index)), m_columnInfo(std::move(columnInfo)),
      m_tableTreeHelper(std::move(helper)), m_formats(1), m_versionText(std::move(versionText)),
      m_extraVersionText(std::move(extraVersionText)), m_catalog(catalog) {
    PANEDECK_EXPECT(!m_columnInfo.is_null(), "!columnInfo.is_null()");
    if (!m_columnInfo) return;
    m_query = dataface1::throughVector(m_columnInfo->getQuery());
    m_isCollapsible = getCollapsible();
    initColumnFormats();
    const auto measured = measuredQuery(*m_columnInfo);
    m_unitOfMeasure = unitOf(measured);
    m_unitScale = scaleOf(measured);
    m_helpKeyword = makeHelpKeyword();
    initQueryInfo();
}

GridColumn::~GridColumn() = default;

bool GridColumn::getCollapsible() const {
    PANEDECK_EXPECT(!m_columnInfo.is_null() && !m_query.is_null(),
                    "!m_columnInfo.is_null() && !m_query.is_null()");
    if (!m_columnInfo || !m_query || !hasAttribute(m_query, "allowCollapse", true)) return false;
    const auto children = childColumns(*m_columnInfo);
    return std::none_of(children.begin(), children.end(), [](const auto& child) {
        return hasAttribute(dataface1::throughVector(child->getQuery()), "unitDistinctQuery", false);
    });
}

std::string GridColumn::makeHelpKeyword() const {
    variant_t name;
    if (!m_columnInfo->getAttribute(dataface1::column_internal_name, name)) return {};
    std::string keyword(name.text());
    keyword.resize(std::min(keyword.find(unitMark), keyword.size()));
    std::replace(keyword.begin(), keyword.end(), ' ', '_');
    return keyword;
}

void GridColumn::initQueryInfo() {
    if (!m_query) return;
    m_queryInfo.name = m_query->getName();
    if (const auto info = IInfoQuery::cast(m_query)) {
        const auto restrictions = info->getRestrictions();
        const bool isSingleRestriction = restrictions.size() <= 1;
        PANEDECK_EXPECT(isSingleRestriction, "isSingleRestriction");
        if (!restrictions.empty())
            m_queryInfo.name += "[" + bk2::get_value_string(restrictions.front().value) + "]";
    }
    const auto flag = m_query->getAttribute("query", variant_t(0));
    m_queryInfo.flag = (flag.can_get<bk2::s32_t>() ? flag.get<bk2::s32_t>() : 0) |
                       static_cast<int>(m_columnInfo->getFlags() & distinguishingFlags);
}

const std::string& GridColumn::getColumnCaption() const {
    if (m_caption.empty() && m_columnInfo) m_caption = panedeck::getColumnCaption(*m_columnInfo);
    return m_caption;
}

std::string GridColumn::getFormula() const {
    PANEDECK_EXPECT(!m_query.is_null(), "!m_query.is_null()");
    const auto derived = IDerivedQuery::cast(m_query);
    if (!derived || !m_isCollapsible || hasAttribute(m_query, "disableFormulaDescription", false)) return {};
    std::string formula;
    for (const auto& component : derived->getComponents())
        formula += (formula.empty() ? "" : " + ") + component->getDisplayName();
    return formula;
}

bool GridColumn::isExpandedByInfoQuery() const {
    if (!m_columnInfo) return false;
    const auto children = childColumns(*m_columnInfo);
    return !children.empty() && std::all_of(children.begin(), children.end(), [](const auto& columnInfo) {
        PANEDECK_EXPECT(!columnInfo.is_null(), "!columnInfo.is_null()");
        const auto query = columnInfo ? dataface1::throughVector(columnInfo->getQuery()) : nullptr;
        PANEDECK_EXPECT(!query.is_null(), "!query.is_null()");
        return !IInfoQuery::cast(query).is_null();
    });
}

std::string GridColumn::getAliasForUnknown() const {
    PANEDECK_EXPECT(!m_query.is_null(), "!m_query.is_null()");
    const auto info = IInfoQuery::cast(m_query);
    return info ? info->getAliasForUnknown() : std::string();
}

variant_t GridColumn::getMaxValue() const {
    return m_tableTreeHelper && m_columnInfo ? m_tableTreeHelper->getMaxValue(*m_columnInfo) : variant_t();
}

variant_t GridColumn::getAbsMaxValue(const IColumnInfo& columnInfo) const {
    PANEDECK_EXPECT(m_tableTreeHelper, "m_tableTreeHelper");
    if (!m_tableTreeHelper) return {};
    const auto query = dataface1::throughVector(columnInfo.getQuery());
    const variant_t maximum = IDerivedQuery::cast(query) ? m_tableTreeHelper->getMaxValuePerQuery(*query)
                                                         : m_tableTreeHelper->getMaxValue(columnInfo);
    const variant_t minimum = m_tableTreeHelper->getMinValue(columnInfo);
    return isFarther(minimum, maximum) ? minimum : maximum;
}

// A difference is drawn on the scale of what it is a difference of.
variant_t GridColumn::calculateBarMaxValue() const {
    if (!m_columnInfo) return {};
    const std::uint32_t flags = m_columnInfo->getFlags();
    if (!(flags & dataface1::column_value_kinds)) return getAbsMaxValue(*m_columnInfo);
    PANEDECK_EXPECT(m_tableTreeHelper, "m_tableTreeHelper");
    variant_t greatest;
    if (!m_tableTreeHelper || !m_query) return greatest;
    for (const std::uint32_t kind : {dataface1::column_first, dataface1::column_second}) {
        const auto sibling =
            m_tableTreeHelper->findColumn(*m_query, (flags & ~dataface1::column_value_kinds) | kind);
        const variant_t value = sibling ? getAbsMaxValue(*sibling) : variant_t();
        if (!value.is_null() && (greatest.is_null() || isFarther(value, greatest))) greatest = value;
    }
    return greatest;
}

const variant_t& GridColumn::getBarMaxValue() const {
    if (!std::exchange(m_hasBarMaximum, true)) m_barMaximum = calculateBarMaxValue();
    return m_barMaximum;
}

const std::shared_ptr<IBar>& GridColumn::getBar() const {
    if (!m_bar) m_bar = chooseBar();
    return m_bar;
}

std::shared_ptr<IBar> GridColumn::chooseBar() const {
    if (m_columnInfo->getFlags() & dataface1::column_difference)
        return std::make_shared<DiffBar>(*m_columnInfo);
    if (m_isCollapsible && isExpandedByInfoQuery()) return std::make_shared<StackedBar>(*m_columnInfo);
    return std::make_shared<DefaultBar>(*m_columnInfo);
}

std::string getColumnCaption(const IColumnInfo& columnInfo) {
    return dataface1::getColumnName(columnInfo);
}

} // namespace panedeck
