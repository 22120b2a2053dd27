#pragma once

// A slow, obvious model of a grid: nodes with flags, and the visible rows worked out anew by recursion
// whenever they are asked for. What the grid model must show after any sequence of operations.

#include "support/fake_table_tree.h"

#include <algorithm>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace panedeck::tests {

struct OracleNode {
    std::string name;
    bk2::s64_t id = 0;
    bk2::s64_t number = 0; ///< no two are equal, so that a sort has one result
    OracleNode* parent = nullptr;
    std::vector<std::unique_ptr<OracleNode>> children;
    bool expanded = false;
    bool opened = false; ///< its children were asked for, so a leaf is known as one
};

class GridOracle {
public:
    struct Row {
        OracleNode* node;
        int level;
    };

    std::vector<Row> rows() const {
        std::vector<Row> result;
        collect(root, 0, result);
        return result;
    }

    int indexOf(const OracleNode* node) const {
        const auto visible = rows();
        const auto found =
            std::find_if(visible.begin(), visible.end(), [&](const Row& row) { return row.node == node; });
        return found == visible.end() ? -1 : static_cast<int>(found - visible.begin());
    }

    static char state(const OracleNode& node) {
        if (node.opened && node.children.empty()) return ' ';
        return node.expanded ? '-' : '+';
    }

    static void open(OracleNode& node) {
        node.opened = true;
        node.expanded = true;
    }

    void close(OracleNode& node) {
        std::set<OracleNode*> hidden;
        const auto visible = rows();
        for (const Row& row : visible)
            for (const OracleNode* above = row.node->parent; above; above = above->parent)
                if (above == &node) hidden.insert(row.node);
        node.expanded = false;
        if (hidden.count(current)) current = &node;
        if (std::erase_if(selected, [&](OracleNode* row) { return hidden.count(row) != 0; }) > 0)
            selected.insert(&node);
    }

    void openAll(int levels) {
        const std::function<void(OracleNode&, int)> walk = [&](OracleNode& parent, int level) {
            for (auto& child : parent.children) {
                open(*child);
                if (levels == 0 || level + 1 < levels) walk(*child, level + 1);
            }
        };
        walk(root, 0);
    }

    void closeAll() {
        const auto visible = rows();
        for (auto row = visible.rbegin(); row != visible.rend(); ++row)
            if (state(*row->node) == '-') close(*row->node);
    }

    void openSelected() {
        const auto visible = rows();
        for (auto row = visible.rbegin(); row != visible.rend(); ++row)
            if (selected.count(row->node)) open(*row->node);
    }

    OracleNode root;
    bool byNumber = false;
    bool descending = false;
    std::set<OracleNode*> selected;
    OracleNode* current = nullptr;

private:
    void collect(const OracleNode& parent, int level, std::vector<Row>& result) const {
        std::vector<OracleNode*> ordered;
        for (const auto& child : parent.children)
            ordered.push_back(child.get());
        std::sort(ordered.begin(), ordered.end(), [this](const OracleNode* a, const OracleNode* b) {
            if (descending) std::swap(a, b);
            return byNumber ? a->number < b->number : a->name < b->name;
        });
        for (OracleNode* node : ordered) {
            result.push_back({node, level});
            if (node->expanded) collect(*node, level + 1, result);
        }
    }
};

} // namespace panedeck::tests
