#include "gridmodel/gridmodel.h"
#include "gridmodel/row_keys.h"
#include "gridmodel/sibling_order.h"
#include "portkit/ustring8.h"
#include "support/fake_table_tree.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <random>

namespace panedeck::tests {
namespace {

using bk2::variant_t;

bool isText(const variant_t& value) {
    return value.is_narrow_text() || value.is_wide_text();
}

/// The place of a value among others, as far as one value tells: unknown ones, then those that are no number.
int rankOf(const variant_t& value) {
    if (value.is_null()) return 0;
    return value.is_numeric() && std::isnan(value.get<double>()) ? 1 : 2;
}

bool isBefore(const variant_t& a, const variant_t& b, bool as_text) {
    if (as_text && !a.is_null() && !b.is_null())
        return portkit2::lower_case(bk2::get_value_string(a)) <
               portkit2::lower_case(bk2::get_value_string(b));
    if (rankOf(a) != rankOf(b)) return rankOf(a) < rankOf(b);
    return rankOf(a) == 2 && a < b;
}

/// Values of one kind or of several, with many that are equal.
using Maker = std::function<variant_t(std::mt19937&)>;

TEST(SiblingOrder, OrdersGroupsOfEveryKindAndSize) {
    const std::vector<Maker> makers = {
        [](auto& random) { return variant_t(static_cast<int>(random() % 100) - 50); },
        [](auto& random) { return variant_t((static_cast<double>(random() % 100) - 50) / 7); },
        [](auto&) { return variant_t(std::numeric_limits<double>::quiet_NaN()); },
        [](auto&) { return variant_t(); },
        [](auto& random) { return variant_t(std::numeric_limits<bk2::u64_t>::max() - random() % 5); },
        [](auto& random) {
            return variant_t(std::numeric_limits<bk2::s64_t>::min() + bk2::s64_t(random() % 5));
        },
        [](auto& random) { return variant_t("shared::Begin" + std::to_string(random() % 50)); },
        [](auto& random) { return variant_t("shared::bEGIN" + std::to_string(random() % 50)); },
        [](auto& random) { return variant_t(std::string(random() % 4, 'z')); },
        [](auto&) { return variant_t(L"Shared::wide"); },
    };
    std::mt19937 random(1);
    SiblingOrder order;
    for (const std::size_t size : {1u, 2u, 17u, 499u, 500u, 5000u, 3u})
        for (int round = 0; round < 40; ++round) {
            std::vector<Maker> some;
            for (unsigned i = 0; i < 1 + random() % 3; ++i)
                some.push_back(makers[random() % makers.size()]);
            bk2::array_t<variant_t>& values = order.values(size);
            for (variant_t& value : values)
                value = some[random() % some.size()](random);
            const std::vector<variant_t> given(values.begin(), values.end());
            const bool as_text = std::any_of(given.begin(), given.end(), isText), descending = round % 2 == 1;
            const bk2::array_t<std::uint32_t> sorted = order.sort(descending);
            std::vector<bool> seen(size);
            for (std::size_t i = 0; i < size; ++i) {
                EXPECT_FALSE(seen[sorted[i]]);
                seen[sorted[i]] = true;
                if (i == 0) continue;
                const variant_t& above = given[sorted[i - 1]];
                const variant_t& below = given[sorted[i]];
                const bool is_wrong =
                    descending ? isBefore(above, below, as_text) : isBefore(below, above, as_text);
                ASSERT_FALSE(is_wrong)
                    << bk2::get_value_string(above) << ", " << bk2::get_value_string(below);
            }
            order.clear();
        }
}

TEST(RowKeys, AreFoundByWhatTheyEqual) {
    const std::vector<std::vector<variant_t>> equals = {
        {variant_t(-3), variant_t(bk2::s64_t(-3)), variant_t(-3.0), variant_t(-3.0f)},
        {variant_t(1), variant_t(true), variant_t(bk2::u64_t(1)), variant_t(1.0)},
        {variant_t(0), variant_t(-0.0), variant_t(false)},
        {variant_t(bk2::u64_t(1) << 63), variant_t(0x1p63)},
        {variant_t("größe"), variant_t(L"größe"), variant_t::borrow("größe")},
        {variant_t(0.5), variant_t(0.5f)},
        {variant_t()},
    };
    RowKeys first, keys;
    for (std::size_t i = 0; i < equals.size(); ++i)
        (i % 2 ? first : keys).insert(equals[i].front());
    keys.insert(first);
    for (const auto& group : equals)
        for (const variant_t& key : group)
            EXPECT_TRUE(keys.contains(key)) << key.tag() << " " << bk2::get_value_string(key);
    for (const variant_t& key : {variant_t(2), variant_t("Größe"), variant_t(0.25), variant_t(-1)})
        EXPECT_FALSE(keys.contains(key));
    for (const auto& group : equals) {
        keys.erase(group.back());
        for (const variant_t& key : group)
            EXPECT_FALSE(keys.contains(key)) << key.tag() << " " << bk2::get_value_string(key);
    }
}

/// Enough rows that they are read in several blocks and by several threads.
constexpr int row_count = 9'000;

std::string nameOf(int row) {
    return (row % 2 ? "Name" : "name") + std::to_string(row * 37 % row_count);
}

bk2::sptr_t<GridModel> makeLargeGrid() {
    const auto tree = makeTree({{makeMetric("cycles"), dataface1::column_data}}, "");
    for (int row = 0; row < row_count; ++row)
        tree->addRow(nullptr, nameOf(row), {variant_t(bk2::s64_t(row * 101 % row_count))});
    auto grid = bk2::make_sptr<GridModel>(GridFlatProfile, nullptr, nullptr, nullptr);
    GridViewParams params;
    params.startRow = 0;
    params.rowCount = 10;
    EXPECT_TRUE(grid->init(tree, params, KeepStackMode, {}, nullptr).succeeded());
    return grid;
}

TEST(LargeGrid, SortsByNumberAndByText) {
    const auto grid = makeLargeGrid();
    for (const bool descending : {false, true}) {
        ASSERT_TRUE(grid->sort({1, descending}).succeeded());
        for (int row = 0; row < row_count; ++row)
            ASSERT_EQ(grid->getCellContentByIndex(row, 1), variant_t(descending ? row_count - 1 - row : row));
        ASSERT_TRUE(grid->sort({0, descending}).succeeded());
        for (int row = 1; row < row_count; ++row) {
            const auto above = portkit2::lower_case(grid->getCellContentByIndex(row - 1, 0).text());
            const auto below = portkit2::lower_case(grid->getCellContentByIndex(row, 0).text());
            ASSERT_TRUE(descending ? above >= below : above <= below) << row;
        }
    }
}

TEST(LargeGrid, FindsEveryHitInOrder) {
    const auto grid = makeLargeGrid();
    ColumnHierarchy hierarchy;
    hierarchy.children.resize(1);
    hierarchy.children.front().dataIndex = 0;
    grid->updateColumnState(hierarchy);
    ASSERT_TRUE(grid->sort({1, false}).succeeded());
    GridSearchHelper helper;
    ASSERT_TRUE(
        helper.search(grid.get(), {grid.get(), 0, row_count}, grid->getVisibleColumns(), "NAME77", nullptr)
            .succeeded());
    std::size_t found = 0;
    for (int row = 0; row < row_count; ++row) {
        if (portkit2::lower_case(grid->getCellContentByIndex(row, 0).text()).find("name77") ==
            std::string::npos)
            continue;
        ASSERT_LT(found, helper.foundCells().size());
        EXPECT_EQ(helper.foundCells()[found].row, row);
        EXPECT_EQ(helper.foundCells()[found].entries.front().foundItemNumber, found + 1);
        ++found;
    }
    EXPECT_EQ(found, 111u) << "77, 770 to 779, 7700 to 7799";
    EXPECT_EQ(helper.foundCells().size(), found);
}

} // namespace
} // namespace panedeck::tests
