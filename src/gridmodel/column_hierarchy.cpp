#include "gridmodel/column_hierarchy.h"

#include <iterator>
#include <utility>

namespace panedeck {

ColumnHierarchy::ColumnHierarchy(const ColumnHierarchy& other) {
    // Children are sized once and then filled, so that the pointers to them hold.
    std::vector<std::pair<const ColumnHierarchy*, ColumnHierarchy*>> pending = {{&other, this}};
    while (!pending.empty()) {
        const auto [from, to] = pending.back();
        pending.pop_back();
        to->dataIndex = from->dataIndex;
        to->isCollapsed = from->isCollapsed;
        to->isHidden = from->isHidden;
        to->format = from->format;
        to->children = std::vector<ColumnHierarchy>(from->children.size());
        for (std::size_t i = 0; i < from->children.size(); ++i)
            pending.emplace_back(&from->children[i], &to->children[i]);
    }
}

ColumnHierarchy& ColumnHierarchy::operator=(ColumnHierarchy other) noexcept {
    dataIndex = other.dataIndex;
    isCollapsed = other.isCollapsed;
    isHidden = other.isHidden;
    format.swap(other.format);
    children.swap(other.children);
    return *this;
}

// Each node dies without children, so that depth costs no stack.
ColumnHierarchy::~ColumnHierarchy() {
    std::vector<ColumnHierarchy> pending = std::move(children);
    while (!pending.empty()) {
        std::vector<ColumnHierarchy> below = std::move(pending.back().children);
        pending.pop_back();
        std::move(below.begin(), below.end(), std::back_inserter(pending));
        // What `below` still holds has been moved from and has no children.
    }
}

} // namespace panedeck
