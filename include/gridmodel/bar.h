#pragma once

#include "basekit/variant_bag.h"
#include "dataface/table_tree.h"

#include <memory>

namespace panedeck {

/// What a bar needs to be drawn in one cell.
class IBarInstance {
public:
    virtual ~IBarInstance() = default;
    /// Adds the bar's keys to a cell's bag.
    virtual void saveToVBag(bk2::variant_bag_t& bag) const = 0;
};

enum class bar_type_t : int { plain = 0, stacked = 1, diff = 2 };

/// What the cells of a column draw beside their values.
class IBar {
public:
    virtual ~IBar() = default;
    virtual bar_type_t getType() const = 0;
    virtual std::shared_ptr<IBarInstance> createInstance(const dataface1::ITableRow& row) const = 0;
    /// Adds the bar's keys to the column's bag.
    virtual void saveToVBag(bk2::variant_bag_t& bag) const = 0;
};

} // namespace panedeck
