#include "tree/tree_columns.h"

#include "query/metric_query.h"

#include <array>

namespace panedeck::engine {

namespace {

using namespace dataface1;

// Told apart by people who do not see all hues alike; red, green, blue, alpha from the highest byte down.
constexpr std::array<bk2::u32_t, 8> palette{0x4477aaff, 0xee6677ff, 0x228833ff, 0xccbb44ff,
                                            0x66cceeff, 0xaa3377ff, 0xee8866ff, 0x999999ff};

constexpr std::uint32_t flagOf(WeightKind kind) {
    return kind == WeightKind::total ? column_total : column_self;
}

std::string kindName(WeightKind kind) {
    return kind == WeightKind::total ? "Total" : "Self";
}

/// Makes the columns of one number of one metric.
class MetricColumnMaker {
public:
    MetricColumnMaker(const ShownMetric& shown, WeightKind kind, const RowTree& rows)
        : m_shown(shown), m_kind(kind), m_rows(rows) {
        m_content.kind = ColumnContent::Kind::weight;
        m_content.metric = shown.metric;
        m_content.cell = RowTree::cellOf(shown.metric, kind);
        m_content.has_base_cell = shown.metric != 0;
        m_content.base_cell = RowTree::cellOf(0, kind);
    }

    std::unique_ptr<TreeColumn> makeOne() const {
        const std::uint32_t flags = column_data | flagOf(m_kind);
        auto column = std::make_unique<TreeColumn>(makeColumnQuery(m_shown.query, flags), flags, m_content);
        column->setInternalName(name());
        return column;
    }

    void addSides(TreeColumn& parent) const {
        constexpr std::array<std::pair<ColumnContent::Side, std::uint32_t>, 3> sides{
            {{ColumnContent::Side::first, column_first},
             {ColumnContent::Side::second, column_second},
             {ColumnContent::Side::difference, column_difference}}};
        constexpr std::array<const char*, 3> names{"First", "Second", "Difference"};
        for (const auto& [side, flag] : sides) {
            const std::uint32_t flags = column_data | flagOf(m_kind) | flag;
            ColumnContent content = m_content;
            content.side = side;
            auto column = std::make_unique<TreeColumn>(makeColumnQuery(m_shown.query, flags), flags, content);
            column->setInternalName(name() + ":" + names[static_cast<std::size_t>(side)]);
            parent.addChild(std::move(column));
        }
    }

    void addParts(TreeColumn& parent) const {
        const std::size_t expansion = *m_shown.expansion;
        const Dimension dimension = m_rows.request().expansions[expansion].dimension;
        const TextTable& texts = m_rows.request().store->texts(dimension);
        const std::vector<DimensionValue> values = m_rows.expansionValues(expansion);
        const std::uint32_t flags = column_data | flagOf(m_kind);
        for (std::size_t part = 0; part < values.size(); ++part) {
            ColumnContent content = m_content;
            content.cell = m_rows.cellOfExpansion(expansion, part, m_kind);
            content.has_base_cell = true;
            content.base_cell = m_content.cell;
            const std::string text =
                values[part] == 0 ? "[unknown]" : std::string(texts.text(values[part]).text());
            auto query = makeExpansionValueQuery(m_shown.query, texts.text(values[part]), text, flags);
            auto column = std::make_unique<TreeColumn>(std::move(query), flags, content);
            column->setInternalName(name() + ":" + text);
            column->setColor(bk2::variant_t(palette[part % palette.size()]));
            parent.addChild(std::move(column));
        }
    }

private:
    std::string name() const {
        std::string text = m_shown.query->getDisplayName();
        if (const auto expansion = expansionOf(m_shown.query)) text += " by " + expansion->getDisplayName();
        return text + ":" + kindName(m_kind);
    }

    const ShownMetric& m_shown;
    WeightKind m_kind;
    const RowTree& m_rows;
    ColumnContent m_content;
};

std::unique_ptr<TreeColumn> makeMetricColumn(const ShownMetric& shown, WeightKind kind, bool is_compared,
                                             const RowTree& rows) {
    const MetricColumnMaker maker(shown, kind, rows);
    auto column = maker.makeOne();
    if (is_compared)
        maker.addSides(*column);
    else if (shown.expansion)
        maker.addParts(*column);
    return column;
}

} // namespace

std::vector<std::unique_ptr<TreeColumn>> makeColumns(const ShownColumns& shown, const RowTree& rows) {
    std::vector<std::unique_ptr<TreeColumn>> columns;
    columns.push_back(std::make_unique<TreeColumn>(shown.grouping, column_grouping, ColumnContent{}));
    columns.back()->setInternalName(shown.grouping->getDisplayName());
    for (const auto& query : shown.facts) {
        ColumnContent content;
        content.kind = ColumnContent::Kind::fact;
        content.fact = handleOf<FactHandle>(query)->fact();
        columns.push_back(std::make_unique<TreeColumn>(query, column_info, content));
        columns.back()->setInternalName(query->getDisplayName());
    }
    for (const ShownMetric& metric : shown.metrics)
        for (const WeightKind kind : {WeightKind::total, WeightKind::self})
            if (kind == WeightKind::self || shown.has_totals)
                columns.push_back(makeMetricColumn(metric, kind, shown.is_compared, rows));
    return columns;
}

} // namespace panedeck::engine
