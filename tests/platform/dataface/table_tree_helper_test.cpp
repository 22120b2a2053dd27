#include "dataface/table_tree_helper.h"
#include "support/fake_table_tree.h"

#include <gtest/gtest.h>

#include <limits>

namespace panedeck::tests {
namespace {

using bk2::variant_t;
using dataface1::createTableTreeHelper;

constexpr std::uint32_t total = dataface1::column_data | dataface1::column_total;
constexpr std::uint32_t self = dataface1::column_data | dataface1::column_self;

TEST(TableTreeHelper, FindsTheNumbersOfAColumnInOnePass) {
    auto tree = makeTree({{makeMetric("a"), total}, {makeMetric("b"), self}, {makeMetric("c"), self}},
                         "x | 3 | 1.5\n  below | 100\ny | -7 | text\nz");
    const auto helper = createTableTreeHelper(tree);
    EXPECT_EQ(helper->getMaxValue(tree->column(1)), variant_t(bk2::s64_t(3)));
    EXPECT_EQ(helper->getMinValue(tree->column(1)), variant_t(bk2::s64_t(-7)));
    EXPECT_EQ(helper->getSum(tree->column(1)), variant_t(bk2::s64_t(-4)));
    EXPECT_EQ(helper->getMaxValue(tree->column(2)), variant_t(1.5)) << "texts do not count";
    EXPECT_TRUE(helper->getMaxValue(tree->column(3)).is_null());
    EXPECT_TRUE(helper->getSum(tree->column(3)).is_null());
    EXPECT_EQ(tree->rowsPasses, 1u);
}

TEST(TableTreeHelper, SumsBeyondIntegersAsDoubles) {
    auto tree = makeTree({{makeMetric("a"), self}}, "");
    const bk2::s64_t greatest = std::numeric_limits<bk2::s64_t>::max();
    tree->addRow(nullptr, "x", {variant_t(greatest)});
    tree->addRow(nullptr, "y", {variant_t(greatest)});
    tree->addRow(nullptr, "nan", {variant_t(std::numeric_limits<double>::quiet_NaN())});
    const auto helper = createTableTreeHelper(tree);
    EXPECT_EQ(helper->getSum(tree->column(1)), variant_t(2.0 * static_cast<double>(greatest)));
    EXPECT_EQ(helper->getMaxValue(tree->column(1)), variant_t(greatest));
}

TEST(TableTreeHelper, FindsColumnsByQueryAndFlags) {
    const auto metric = makeMetric("a");
    const auto thread = [](const char* value) {
        const auto query = bk2::make_sptr<FakeInfoQuery>("/Thread");
        query->restrictions.push_back({nullptr, variant_t(value)});
        return query;
    };
    auto tree = makeTree(
        {{makeVector({metric}), total, "", {{thread("t1"), self}, {thread("t2"), self}}}, {metric, self}},
        "x | 1 | 2 | 3 | 40");
    const auto helper = createTableTreeHelper(tree);
    EXPECT_EQ(helper->findColumn(*metric, total).get(), &tree->column(1)) << "looked through the vector";
    EXPECT_EQ(helper->findColumn(*metric, self).get(), &tree->column(4));
    EXPECT_EQ(helper->findColumn(*thread("t2"), self).get(), &tree->column(3));
    EXPECT_EQ(helper->findColumn(*thread("t3"), self), nullptr);
    EXPECT_EQ(helper->findColumn(*metric, dataface1::column_data), nullptr);
    EXPECT_EQ(helper->getMaxValuePerQuery(*metric), variant_t(bk2::s64_t(40)));
    EXPECT_TRUE(helper->getMaxValuePerQuery(*makeMetric("b")).is_null());
}

/// A tree that knows its extremes.
class KnowingTree : public FakeTableTree, public dataface1::IColumnStatistics {
public:
    using FakeTableTree::FakeTableTree;
    void add_ref() const override { FakeTableTree::add_ref(); }
    void release() const override { FakeTableTree::release(); }
    bool getColumnMaximum(const dataface1::IColumnInfo&, variant_t& value) const override {
        value = variant_t(bk2::s64_t(1000));
        return true;
    }
    bool getColumnMinimum(const dataface1::IColumnInfo&, variant_t&) const override { return false; }
    bool getColumnSum(const dataface1::IColumnInfo&, variant_t&) const override { return false; }
};

TEST(TableTreeHelper, AsksATreeThatKnows) {
    const bk2::sptr_t<FakeTableTree> tree(new KnowingTree({{makeMetric("a"), self}}, "x | 1"));
    const auto helper = createTableTreeHelper(tree);
    EXPECT_EQ(helper->getMaxValue(tree->column(1)), variant_t(bk2::s64_t(1000)));
    EXPECT_TRUE(helper->getMinValue(tree->column(1)).is_null());
    EXPECT_EQ(tree->rowsPasses, 0u);
}

TEST(TableTreeHelper, NeedsATree) {
    EXPECT_EQ(createTableTreeHelper(nullptr), nullptr);
}

} // namespace
} // namespace panedeck::tests
