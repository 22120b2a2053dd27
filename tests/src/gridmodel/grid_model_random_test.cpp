// Random sequences of operations on a grid model, each compared with the oracle. A failure prints the seed
// and the operations that led to it.

#include "gridmodel/gridmodel.h"
#include "src/gridmodel/grid_oracle.h"
#include "support/log_capture.h"

#include <gtest/gtest.h>

#include <random>
#include <sstream>

namespace panedeck::tests {

namespace {

constexpr int sequences = 2500;
constexpr int operations_each = 45;

class RandomGrid {
public:
    explicit RandomGrid(unsigned seed) : m_random(seed) {
        m_oracle.byNumber = true;
        m_oracle.descending = true;
        grow(m_oracle.root, 0);
        refresh();
    }

    void step() {
        switch (pick(12)) {
        case 0:
        case 1:
        case 2:
            return open();
        case 3:
        case 4:
            return close();
        case 5:
            return sort();
        case 6:
            return select();
        case 7:
            return select();
        case 8:
            return openLevels();
        case 9:
            return closeAll();
        case 10:
            return openSelected();
        default:
            return refresh();
        }
    }

    std::string log() const { return m_log.str(); }

    ::testing::AssertionResult agrees() const {
        if (const std::string fault = m_model->verify(); !fault.empty())
            return ::testing::AssertionFailure() << fault;
        const std::string shown = showModel(), expected = showOracle();
        if (shown == expected) return ::testing::AssertionSuccess();
        return ::testing::AssertionFailure() << "shows\n" << shown << "instead of\n" << expected;
    }

private:
    int pick(int below) { return static_cast<int>(m_random() % static_cast<unsigned>(below)); }

    void grow(OracleNode& parent, int depth) {
        const int count = depth == 0 ? 1 + pick(6) : depth > 5 ? 0 : pick(4);
        for (int i = 0; i < count; ++i) {
            auto child = std::make_unique<OracleNode>();
            child->id = ++m_lastId;
            child->name = "n" + std::to_string(1000 + pick(1000)) + "." + std::to_string(child->id);
            child->number = pick(1000) * 1000 + child->id;
            child->parent = depth == 0 ? nullptr : &parent;
            grow(*child, depth + 1);
            parent.children.push_back(std::move(child));
        }
    }

    int randomRow() { return pick(std::max(1, m_model->getRowCount())); }

    void open() {
        const int row = randomRow();
        m_log << "open " << row << "\n";
        OracleNode& node = *m_oracle.rows()[static_cast<std::size_t>(row)].node;
        GridOracle::open(node);
        m_model->expandRow(row, true, nullptr);
    }

    void close() {
        const int row = randomRow();
        if (m_model->getRowState(row) != RowExpanded) return;
        m_log << "close " << row << "\n";
        m_oracle.close(*m_oracle.rows()[static_cast<std::size_t>(row)].node);
        m_model->expandRow(row, false, nullptr);
    }

    void sort() {
        m_oracle.byNumber = pick(2) == 1;
        m_oracle.descending = pick(2) == 1;
        m_log << "sort " << m_oracle.byNumber << m_oracle.descending << "\n";
        ASSERT_TRUE(m_model->sort({m_oracle.byNumber ? 1 : 0, m_oracle.descending}).succeeded());
    }

    void select() {
        const int row = randomRow(), type = pick(6);
        m_log << "select " << row << " type " << type << "\n";
        // A range from nowhere takes an empty row in; panes never ask for one.
        if (type == SelectAddRange && m_model->getCurrentRow() < 0) return;
        const auto visible = m_oracle.rows();
        OracleNode* node = visible[static_cast<std::size_t>(row)].node;
        switch (type) {
        case SelectSetSingle:
            if (m_oracle.selected != std::set<OracleNode*>{node}) m_oracle.current = node;
            m_oracle.selected = {node};
            break;
        case SelectAddRange: {
            const auto [first, last] = std::minmax({row, m_oracle.indexOf(m_oracle.current)});
            for (int i = first; i <= last; ++i)
                m_oracle.selected.insert(visible[static_cast<std::size_t>(i)].node);
            m_oracle.current = node;
            break;
        }
        case SelectAll:
            m_oracle.selected.clear();
            for (const auto& all : visible)
                m_oracle.selected.insert(all.node);
            break;
        case SelectToggle:
            if (m_oracle.selected.erase(node) == 0) m_oracle.selected.insert(node);
            m_oracle.current = node;
            break;
        case SelectClear:
            m_oracle.selected.clear();
            m_oracle.current = nullptr;
            break;
        default:
            m_oracle.current = node;
        }
        // The fake tree sums nothing up, so the footer fails; the selection is made all the same.
        (void)m_model->processRowSelection(row, pick(2) ? m_model->getRowId(row) : 0, type);
    }

    void openLevels() {
        const int levels = pick(4);
        m_log << "open levels " << levels << "\n";
        m_oracle.openAll(levels);
        m_model->expandRowsRecursively(nullptr, levels);
    }

    void closeAll() {
        m_log << "close all\n";
        m_oracle.closeAll();
        m_model->collapseAllRows(nullptr);
    }

    void openSelected() {
        m_log << "open selected\n";
        m_oracle.openSelected();
        m_model->expandSelectedRows(nullptr);
    }

    void refresh() {
        m_log << "refresh\n";
        if (!m_model)
            m_model = bk2::make_sptr<GridModel>(GridBottomUp, nullptr, nullptr, nullptr);
        else
            renewOracle();
        const auto metric = bk2::make_sptr<FakeQuery>("/Metrics/cycles");
        m_tree = makeTree({{metric, dataface1::column_data | dataface1::column_self}}, "");
        addRows(m_oracle.root, nullptr);
        GridViewParams params;
        params.grouping = "/Function";
        params.startRow = 0;
        params.rowCount = 1 << 30;
        ASSERT_TRUE(m_model->init(m_tree, params, KeepStackMode, {}, nullptr).succeeded());
    }

    /// Loses a few rows; what was open and visible stays open if its key is still there on its level.
    void renewOracle() {
        std::vector<std::set<bk2::s64_t>> openKeys(32);
        for (const auto& row : m_oracle.rows())
            if (GridOracle::state(*row.node) == '-')
                openKeys[static_cast<std::size_t>(row.level)].insert(row.node->id);
        std::vector<bk2::s64_t> idsToCurrent;
        for (const auto& row : m_oracle.rows()) {
            if (m_oracle.current) idsToCurrent.push_back(row.node->id);
            if (row.node == m_oracle.current) break;
        }
        m_oracle.selected.clear();
        m_oracle.current = nullptr;
        if (pick(2) && m_oracle.root.children.size() > 1)
            m_oracle.root.children.erase(m_oracle.root.children.begin() +
                                         pick(static_cast<int>(m_oracle.root.children.size())));
        reopen(m_oracle.root, 0, true, openKeys);
        // A current row that is gone leaves the nearest one above it.
        for (auto id = idsToCurrent.rbegin(); id != idsToCurrent.rend() && !m_oracle.current; ++id)
            for (const auto& row : m_oracle.rows())
                if (row.node->id == *id) m_oracle.current = row.node;
    }

    static void reopen(OracleNode& parent, std::size_t level, bool reached,
                       const std::vector<std::set<bk2::s64_t>>& openKeys) {
        for (auto& child : parent.children) {
            child->expanded = reached && openKeys[level].count(child->id);
            child->opened = child->expanded;
            reopen(*child, level + 1, child->expanded, openKeys);
        }
    }

    void addRows(const OracleNode& parent, FakeRow* parentRow) {
        for (const auto& child : parent.children) {
            FakeRow& row = m_tree->addRow(parentRow, child->name, {bk2::variant_t(child->number)});
            row.otherContents[{0, dataface1::cell_object_id}] = bk2::variant_t(child->id);
            addRows(*child, &row);
        }
    }

    static std::string line(const std::string& name, int level, char state, bool selected, bool current) {
        return std::string(static_cast<std::size_t>(level) * 2, ' ') + state + name + (selected ? " *" : "") +
               (current ? " <" : "") + "\n";
    }

    std::string showModel() const {
        std::string text;
        for (int row = 0; row < m_model->getRowCount(); ++row)
            text += line(std::string(m_model->getCellContentByIndex(row, 0).text()),
                         m_model->getRowLevel(row), "+- "[m_model->getRowState(row)],
                         m_model -> isSelected(row), m_model -> getCurrentRow() == row);
        return text + std::to_string(m_model->getSelectedCount()) + "\n";
    }

    std::string showOracle() const {
        std::string text;
        for (const auto& row : m_oracle.rows())
            text += line(row.node->name, row.level, GridOracle::state(*row.node),
                         m_oracle.selected.count(row.node) != 0, m_oracle.current == row.node);
        return text + std::to_string(m_oracle.selected.size()) + "\n";
    }

    std::mt19937 m_random;
    bk2::s64_t m_lastId = 0;
    GridOracle m_oracle;
    bk2::sptr_t<FakeTableTree> m_tree;
    bk2::sptr_t<GridModel> m_model;
    std::ostringstream m_log;
};

} // namespace

TEST(GridModelRandom, ShowsWhatTheOracleShows) {
    // The fake tree sums no rows up, which is logged at every selection.
    LogCapture silent(static_cast<logkit1::level_t>(50000));
    for (unsigned seed = 1; seed <= sequences; ++seed) {
        RandomGrid grid(seed);
        for (int i = 0; i < operations_each; ++i) {
            grid.step();
            ASSERT_TRUE(grid.agrees()) << "seed " << seed << "\n" << grid.log();
        }
    }
}

} // namespace panedeck::tests
