#include "gridmodel/bars.h"

#include "basekit/assertion.h"
#include "gridmodel/child_columns.h"
#include "gridmodel/color.h"
#include "gridmodel/gridcolumn.h"

#include <utility>

namespace panedeck {

using bk2::variant_bag_t;
using bk2::variant_t;
using dataface1::IColumnInfo;
using dataface1::ITableRow;

namespace {

constexpr color_t defaultColor = {0xd4, 0x73, 0x34, 0xff};

class DefaultBarInstance : public IBarInstance {
public:
    void saveToVBag(variant_bag_t&) const override {}
};

/// The values of the segments in one row.
class StackedBarInstance : public IBarInstance {
public:
    void addSegment(const std::string& id, const IColumnInfo& columnInfo, const ITableRow& row) {
        variant_t value;
        const bool status = row.getValue(&columnInfo, dataface1::cell_value, value);
        PANEDECK_EXPECT(status, "status");
        m_segments.emplace_back(id, std::move(value));
    }

    void saveToVBag(variant_bag_t& bag) const override {
        if (m_segments.empty()) return;
        variant_bag_t& segments = bag.add_variant_bag("barSegments");
        segments.put<variant_t>("arrayOf", variant_t("barSegment"));
        for (const auto& [id, value] : m_segments) {
            variant_bag_t& segment = segments.add_variant_bag("barSegment");
            segment.put<variant_t>("id", variant_t(id));
            segment.put<variant_t>("value", value);
        }
    }

private:
    std::vector<std::pair<std::string, variant_t>> m_segments;
};

void saveBarType(const IBar& bar, variant_bag_t& bag) {
    bag.put<variant_t>("barType", variant_t(getBarTypeName(bar.getType())));
}

} // namespace

const char* getBarTypeName(bar_type_t type) {
    switch (type) {
    case bar_type_t::plain:
        return "default";
    case bar_type_t::stacked:
        return "stacked";
    case bar_type_t::diff:
        return "diff";
    }
    return "unknown";
}

variant_t getColumnColor(const IColumnInfo& columnInfo) {
    variant_t color;
    return columnInfo.getAttribute(dataface1::column_color, color) ? color : packColor(defaultColor);
}

DefaultBar::DefaultBar(const IColumnInfo& columnInfo) : m_color(getColumnColor(columnInfo)) {}

// All instances are alike, so one serves every cell.
std::shared_ptr<IBarInstance> DefaultBar::createInstance(const ITableRow&) const {
    static const auto instance = std::make_shared<DefaultBarInstance>();
    return instance;
}

void DefaultBar::saveToVBag(variant_bag_t& bag) const {
    saveBarType(*this, bag);
    bag.put<variant_t>("color", m_color);
}

StackedBar::StackedBar(const IColumnInfo& columnInfo) {
    for (const auto& child : childColumns(columnInfo))
        m_segments.push_back({"s" + std::to_string(m_segments.size()), getColumnCaption(*child),
                              getColumnColor(*child), child});
}

std::shared_ptr<IBarInstance> StackedBar::createInstance(const ITableRow& row) const {
    auto instance = std::make_shared<StackedBarInstance>();
    for (const segment_t& segment : m_segments)
        instance->addSegment(segment.id, *segment.columnInfo, row);
    return instance;
}

void StackedBar::saveToVBag(variant_bag_t& bag) const {
    saveBarType(*this, bag);
    variant_bag_t& segments = bag.add_variant_bag("barSegments");
    for (const segment_t& segment : m_segments) {
        variant_bag_t& entry = segments.add_variant_bag(segment.id);
        entry.put<variant_t>("caption", variant_t(segment.caption));
        entry.put<variant_t>("color", segment.color);
    }
}

} // namespace panedeck
