// Sorts of so many rows that several threads share them.

#include "gridmodel/gridmodel.h"
#include "portkit/ustring8.h"
#include "support/fake_table_tree.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <set>

namespace panedeck::tests {
namespace {

using bk2::variant_t;

constexpr int row_count = 20'000;

/// Numbers of all kinds; some unknown, some no number, many equal, large ones that differ in their last bit.
variant_t someNumber(std::mt19937& random) {
    switch (random() % 6) {
    case 0:
        return {};
    case 1:
        return variant_t(std::numeric_limits<double>::quiet_NaN());
    case 2:
        return variant_t(static_cast<bk2::s32_t>(random() % 200) - 100);
    case 3:
        return variant_t(static_cast<double>(random() % 1000) / 8 - 60);
    default:
        return variant_t((bk2::s64_t{1} << 62) + static_cast<bk2::s64_t>(random() % 100'000));
    }
}

std::string someName(std::mt19937& random, int number) {
    const std::string name = std::to_string(random() % 3000) + "::draw" + std::to_string(number % 7);
    return (random() % 2 ? "Renderer::" : "renderer::") + name;
}

class SortedGrid {
public:
    SortedGrid() {
        const auto tree = makeTree({{makeMetric("cycles"), dataface1::column_data}}, "");
        std::mt19937 random(5);
        for (int i = 0; i < row_count; ++i)
            tree->addRow(nullptr, someName(random, i), {someNumber(random)});
        GridViewParams params;
        params.rowCount = 10;
        EXPECT_TRUE(m_grid->init(tree, params, TreeMode, {}, nullptr).succeeded());
        EXPECT_EQ(m_grid->getRowCount(), row_count);
    }

    /// The values of a column from the first row to the last.
    std::vector<variant_t> sorted(int column, bool descending) {
        EXPECT_TRUE(m_grid->sort({column, descending}).succeeded());
        std::vector<variant_t> values;
        std::set<const void*> rows;
        for (int row = 0; row < m_grid->getRowCount(); ++row) {
            values.push_back(m_grid->getCellContentByIndex(row, column));
            rows.insert(m_grid->getRowByIndex(row).get());
        }
        EXPECT_EQ(rows.size(), std::size_t{row_count}) << "each row stands in one place";
        return values;
    }

private:
    bk2::sptr_t<GridModel> m_grid = bk2::make_sptr<GridModel>(GridFlatProfile, nullptr, nullptr, nullptr);
};

/// Unknown ones first, then those that are no number.
bool isLess(const variant_t& a, const variant_t& b) {
    const auto kind = [](const variant_t& value) {
        if (value.is_null()) return 0;
        return value.tag() == bk2::vt_double && std::isnan(value.get<double>()) ? 1 : 2;
    };
    const auto wide = [](const variant_t& value) {
        return value.is_integer() ? static_cast<long double>(value.get<bk2::s64_t>())
                                  : static_cast<long double>(value.get<double>());
    };
    if (kind(a) != kind(b)) return kind(a) < kind(b);
    return kind(a) == 2 && wide(a) < wide(b);
}

bool isTextLess(const variant_t& a, const variant_t& b) {
    return portkit2::lower_case(a.text()) < portkit2::lower_case(b.text());
}

template <class Less>
void expectOrder(std::vector<variant_t> values, bool descending, const Less& less) {
    if (descending) std::ranges::reverse(values);
    EXPECT_TRUE(std::ranges::is_sorted(values, less)) << (descending ? "descending" : "ascending");
}

TEST(GridSort, OrdersManyRowsByNumberAndByText) {
    SortedGrid grid;
    for (const bool descending : {false, true}) {
        expectOrder(grid.sorted(1, descending), descending, isLess);
        expectOrder(grid.sorted(0, descending), descending, isTextLess);
    }
}

} // namespace
} // namespace panedeck::tests
