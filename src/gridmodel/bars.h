#pragma once

// The three kinds of bar.

#include "basekit/sptr.h"
#include "basekit/variant.h"
#include "gridmodel/bar.h"

#include <string>
#include <vector>

namespace panedeck {

/// The name of a bar type on the wire: "default", "stacked", "diff", else "unknown".
const char* getBarTypeName(bar_type_t type);

/// The column's own colour, or the default one.
bk2::variant_t getColumnColor(const dataface1::IColumnInfo& columnInfo);

/// One bar in the column's colour.
class DefaultBar : public IBar {
public:
    explicit DefaultBar(const dataface1::IColumnInfo& columnInfo);
    bar_type_t getType() const override { return bar_type_t::plain; }
    std::shared_ptr<IBarInstance> createInstance(const dataface1::ITableRow& row) const override;
    void saveToVBag(bk2::variant_bag_t& bag) const override;

private:
    bk2::variant_t m_color;
};

/// A bar to either side, for differences.
class DiffBar : public DefaultBar {
public:
    using DefaultBar::DefaultBar;
    bar_type_t getType() const override { return bar_type_t::diff; }
};

/// A bar of one segment for each child column.
class StackedBar : public IBar {
public:
    explicit StackedBar(const dataface1::IColumnInfo& columnInfo);
    bar_type_t getType() const override { return bar_type_t::stacked; }
    std::shared_ptr<IBarInstance> createInstance(const dataface1::ITableRow& row) const override;
    void saveToVBag(bk2::variant_bag_t& bag) const override;

private:
    struct segment_t {
        std::string id;
        std::string caption;
        bk2::variant_t color;
        bk2::sptr_t<dataface1::IColumnInfo> columnInfo;
    };

    std::vector<segment_t> m_segments;
};

} // namespace panedeck
