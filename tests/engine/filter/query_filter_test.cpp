#include "filter/query_filter_builder.h"
#include "query/engine_input.h"
#include "support/engine_session.h"

#include <gtest/gtest.h>

namespace panedeck::tests {
namespace {

using namespace dataface1;
using Builder = bk2::sptr_t<IQueryFilterBuilder>;

// One sample per letter, so that a filter shows as the letters that it lets through.
constexpr char lettered[] = "[1/11 p] main|app|m.c;a|lib|a.c 1\n"
                            "[1/12 q] main|app|m.c;b|lib 1\n"
                            "[2/21 r] main|app|m.c;a|lib|a.c;c|app 1\n"
                            "[2/21 r] d 1\n"
                            "[2/22 s] 1\n";

class QueryFilterTest : public testing::Test {
protected:
    Builder builder(bool values = true) const {
        const auto made = session.registry().createQueryFilterBuilder();
        made->setValueMode(values);
        return made;
    }

    void add(const Builder& to, const std::string& level, const bk2::variant_t& value) const {
        EXPECT_TRUE(to->addExpression(session.level(level), filter_equal, value).succeeded()) << level;
    }

    void set(const std::string& name, const Builder& from) const {
        EXPECT_TRUE(session.registry().setQueryFilter(name, from->compile()).succeeded());
    }

    /// The leaf functions of the samples that the filter lets through, in order; "~" for the empty stack.
    std::string passing(const std::string& filter) const {
        TreeQuestion question;
        question.type = slicerkit1::query_bottom_up;
        question.sorting = "/Function";
        question.filter = filter;
        std::string letters;
        const std::string text = session.print(question);
        if (text == "empty\n") return "";
        for (std::size_t line = 0; line < text.size(); line = text.find('\n', line) + 1)
            letters += text[line];
        return letters;
    }

    std::string passing(const Builder& from) const {
        set("under test", from);
        return passing("under test");
    }

    EngineSession session{lettered};
};

TEST_F(QueryFilterTest, SaysOfASampleWhatItsLevelMeans) {
    const struct {
        const char* level;
        bk2::variant_t value;
        const char* passing;
    } cases[] = {
        {"/Function", "a", "a"},     {"/Function", "main", ""},       {"/Function", {}, "~"},
        {"/Module", "lib", "ab"},    {"/Module", "app", "c"},         {"/Module", {}, "~d"},
        {"/SourceFile", "a.c", "a"}, {"/SourceFile", {}, "~bcd"},     {"/Thread", "r", "cd"},
        {"/Process", "p", "ab"},     {"/Process", "r", "~cd"},        {"/CallStack", "main", "abc"},
        {"/CallStack", "a", "ac"},   {"/ParentCallStack", "a", "ac"}, {"/CallStack", {}, "~"},
        {"/Thread", "nobody", ""},   {"/Info/Module", "lib", "ab"},   {"/Function", 17, ""},
    };
    for (const auto& [level, value, expected] : cases) {
        const auto made = builder();
        add(made, level, value);
        EXPECT_EQ(passing(made), expected) << level << " " << bk2::get_value_string(value);
    }
}

TEST_F(QueryFilterTest, TakesNumbersOfRows) {
    const struct {
        const char* level;
        bk2::variant_t number;
        const char* passing;
    } cases[] = {
        {"/Function", 2, "a"},   {"/Function", bk2::s64_t{3}, "b"},
        {"/Function", {}, "~"},  {"/Function", -1, ""},
        {"/Function", 99, ""},   {"/Function", bk2::s64_t{1} << 40, ""},
        {"/Function", "2", ""},  {"/Thread", 1, "a"},
        {"/Process", 2, "~cd"},  {"/CallStack", 1, "abc"},
        {"/CallStack", 2, "ac"}, {"/CallStack", bk2::u64_t(~0ull), ""},
    };
    for (const auto& [level, number, expected] : cases) {
        const auto made = builder(false);
        add(made, level, number);
        EXPECT_EQ(passing(made), expected) << level << " " << bk2::get_value_string(number);
    }
}

TEST_F(QueryFilterTest, NumbersAreThoseOfTheRows) {
    for (const char* level : {"/Function", "/Module", "/SourceFile", "/Thread", "/Process"}) {
        TreeQuestion question;
        question.grouping = level;
        question.type = slicerkit1::query_bottom_up;
        bk2::sptr_t<ITableTree> tree;
        ASSERT_TRUE(session.run(question, tree).succeeded());
        const auto columns = tree->getColumns(nullptr);
        const auto grouping = columns->current();
        columns->next();
        for (auto row = tree->getRows(nullptr); !row->at_end(); row->next()) {
            bk2::variant_t id, weight;
            row->current()->getValue(grouping.get(), cell_object_id, id);
            row->current()->getValue(columns->current().get(), cell_value, weight);
            const auto made = builder(false);
            add(made, level, id);
            EXPECT_EQ(bk2::variant_t(bk2::s64_t(passing(made).size())), weight) << level;
        }
    }
}

TEST_F(QueryFilterTest, JoinsGroups) {
    // (a or b) and (p or r), with empty groups that are no condition.
    const auto made = builder();
    for (const auto& [level, values] :
         {std::pair("/Function", std::vector{"a", "b"}), std::pair("/Thread", std::vector{"p", "r"})}) {
        EXPECT_TRUE(made->beginGroup(IQueryFilterBuilder::group_or).succeeded());
        EXPECT_TRUE(made->beginGroup(IQueryFilterBuilder::group_and).succeeded());
        EXPECT_TRUE(made->endGroup().succeeded());
        for (const char* value : values)
            add(made, level, value);
        EXPECT_TRUE(made->endGroup().succeeded());
    }
    EXPECT_EQ(passing(made), "a");

    const auto either = builder();
    EXPECT_TRUE(either->beginGroup(IQueryFilterBuilder::group_or).succeeded());
    add(either, "/Function", "b");
    add(either, "/Thread", "r");
    EXPECT_TRUE(either->beginGroup(IQueryFilterBuilder::group_and).succeeded());
    add(either, "/CallStack", "main");
    add(either, "/CallStack", "a");
    add(either, "/Module", "lib");
    EXPECT_TRUE(either->endGroup().succeeded());
    EXPECT_TRUE(either->endGroup().succeeded());
    EXPECT_EQ(passing(either), "abcd");

    const auto both = builder();
    add(both, "/Function", "a");
    add(both, "/Function", "b");
    EXPECT_EQ(passing(both), "");
    EXPECT_EQ(passing(builder()), "~abcd") << "nothing is no condition";
}

TEST_F(QueryFilterTest, BuilderRefusesMisuse) {
    const auto made = builder();
    EXPECT_TRUE(made->endGroup().failed());
    EXPECT_TRUE(made->beginGroup(2).failed());
    EXPECT_TRUE(made->addExpression(nullptr, filter_equal, 1).failed());
    EXPECT_TRUE(
        made->addExpression(session.level("/Function"), static_cast<filter_expr_opcode_t>(1), 1).failed());
    EXPECT_TRUE(made->addExpression(IInfoQuery::cast(session.library->findQuery("/Info/FunctionFullName")),
                                    filter_equal, 1)
                    .failed());
    EXPECT_TRUE(made->beginGroup(0).succeeded());
    EXPECT_TRUE(made->compile().is_null()) << "a group is open";
    bk2::error_code_t error;
    for (int depth = 0; depth < 100'000 && error.succeeded(); ++depth)
        error = made->beginGroup(0);
    EXPECT_TRUE(error.failed()) << "nested without a limit";
}

TEST_F(QueryFilterTest, CopiesJoinByAnd) {
    auto& registry = session.registry();
    const auto r = builder(), a = builder();
    add(r, "/Thread", "r");
    add(a, "/CallStack", "a");
    set("r", r);
    set("a", a);
    EXPECT_TRUE(registry.copyQueryFilter("r", "both", false).succeeded());
    EXPECT_EQ(passing("both"), "cd");
    EXPECT_TRUE(registry.copyQueryFilter("a", "both", false).succeeded());
    EXPECT_EQ(passing("both"), "c");
    EXPECT_TRUE(registry.copyQueryFilter("a", "not a", true).succeeded());
    EXPECT_EQ(passing("not a"), "~bd");
    EXPECT_TRUE(registry.copyQueryFilter("both", "not both", true).succeeded());
    EXPECT_EQ(passing("not both"), "~abd");
    EXPECT_TRUE(registry.copyQueryFilter("not both", "both again", true).succeeded());
    EXPECT_EQ(passing("both again"), "c");

    // By value: what happens to the source later does not matter.
    EXPECT_TRUE(registry.clearQueryFilter("a").succeeded());
    EXPECT_EQ(passing("both"), "c");
    EXPECT_FALSE(registry.hasFilter("a"));
    EXPECT_TRUE(registry.hasFilter("both"));
}

TEST_F(QueryFilterTest, NamesWithoutAFilterAreNoCondition) {
    auto& registry = session.registry();
    EXPECT_EQ(passing("nobody knows"), "~abcd");
    for (const bool invert : {false, true})
        EXPECT_TRUE(registry.copyQueryFilter("nobody knows", "target", invert).succeeded());
    EXPECT_FALSE(registry.hasFilter("target"));
    EXPECT_TRUE(registry.clearQueryFilter("nobody knows").succeeded());
    EXPECT_TRUE(registry.setQueryFilter("target", nullptr).failed());
}

TEST_F(QueryFilterTest, MergesAreBookkeepingOnly) {
    auto& registry = session.registry();
    const auto a = builder();
    add(a, "/Function", "a");
    set("a", a);
    EXPECT_FALSE(registry.isMergeClosed("t"));
    EXPECT_TRUE(registry.mergeFilters("a", "t", false).succeeded());
    EXPECT_TRUE(registry.mergeFilters("t", "a", true).succeeded());
    EXPECT_FALSE(registry.hasFilter("t"));
    EXPECT_EQ(passing("t"), "~abcd");
    EXPECT_EQ(passing("a"), "a");
    EXPECT_TRUE(registry.clearFilterMerges("t").succeeded());
}

TEST_F(QueryFilterTest, TreesKeepTheirFilter) {
    const auto a = builder();
    add(a, "/Function", "a");
    set("f", a);
    TreeQuestion question;
    question.grouping = "/Function/ParentCallStack";
    question.type = slicerkit1::query_bottom_up;
    question.filter = "f";
    bk2::sptr_t<ITableTree> tree;
    ASSERT_TRUE(session.run(question, tree).succeeded());
    EXPECT_TRUE(session.registry().clearQueryFilter("f").succeeded());
    EXPECT_EQ(EngineSession::printTree(tree), "a 1\n  main 1\n");
}

TEST_F(QueryFilterTest, BitsGoWithTheExpression) {
    const auto store = bk2::interface_cast<engine::EngineInput>(session.inputs[0])->store();
    auto expression = engine::FilterExpression::condition(engine::Segment::function, true, "a");
    const auto joined = engine::FilterExpression::joined(
        expression, engine::FilterExpression::condition(engine::Segment::thread, true, "p"));
    std::shared_ptr<const engine::SampleBits> bits, again, of_joined;
    ASSERT_TRUE(expression->bitsFor(store, nullptr, bits).succeeded());
    ASSERT_TRUE(expression->bitsFor(store, nullptr, again).succeeded());
    EXPECT_EQ(bits, again) << "worked out once";
    again.reset();
    ASSERT_TRUE(joined->bitsFor(store, nullptr, of_joined).succeeded());
    std::weak_ptr<const engine::SampleBits> watched = bits;
    bits.reset();
    expression.reset();
    EXPECT_FALSE(watched.expired()) << "the joined filter shares the part";
    EXPECT_EQ(engine::FilterExpression::inverted(engine::FilterExpression::inverted(joined)), joined);
}

TEST_F(QueryFilterTest, ManyItemsAreQuick) {
    const auto made = builder();
    EXPECT_TRUE(made->beginGroup(IQueryFilterBuilder::group_or).succeeded());
    for (int i = 0; i < 100'000; ++i)
        add(made, i % 2 ? "/Function" : "/CallStack", "name" + std::to_string(i));
    add(made, "/Function", "d");
    EXPECT_TRUE(made->endGroup().succeeded());
    EXPECT_EQ(passing(made), "d");
}

TEST_F(QueryFilterTest, RepeatedInversionsEndInAFailure) {
    const auto a = builder();
    add(a, "/Function", "a");
    set("x", a);
    set("y", a);
    bk2::error_code_t error;
    for (int i = 0; i < 5000 && error.succeeded(); ++i) {
        const auto other = builder();
        add(other, "/Thread", "p");
        set("y", other);
        error = session.registry().copyQueryFilter("x", "y", true);
        if (error.succeeded()) {
            EXPECT_TRUE(session.registry().clearQueryFilter("x").succeeded());
            error = session.registry().copyQueryFilter("y", "x", false);
        }
    }
    EXPECT_TRUE(error.failed());
}

TEST_F(QueryFilterTest, RowsBecomeFilters) {
    const auto filtered = [this](const std::string& grouping, int type, const std::vector<std::size_t>& path,
                                 int mode) {
        TreeQuestion question;
        question.grouping = grouping;
        question.type = type;
        bk2::sptr_t<ITableTree> tree;
        EXPECT_TRUE(session.run(question, tree).succeeded());
        auto rows = tree->getRows(nullptr);
        bk2::sptr_t<ITableRow> row;
        for (const std::size_t index : path) {
            for (std::size_t i = 0; i < index; ++i)
                rows->next();
            row = rows->current();
            row->getChildRows(rows, nullptr, true);
        }
        bk2::sptr_t<IQueryFilter> filter;
        const auto facet = bk2::interface_cast<IFilterTableTree>(tree);
        EXPECT_TRUE(facet->createFilter({row}, 0, mode, filter, 0).succeeded());
        EXPECT_TRUE(session.registry().setQueryFilter("rows", filter).succeeded());
        return passing("rows");
    };
    using slicerkit1::query_bottom_up, slicerkit1::query_top_down, slicerkit1::query_flat_profile;
    // Rows by weight, then by name: ~ first, then main in the top-down tree.
    EXPECT_EQ(filtered("/CallStack", query_top_down, {0}, 1), "abc");
    EXPECT_EQ(filtered("/CallStack", query_top_down, {0, 0}, 1), "ac");
    EXPECT_EQ(filtered("/CallStack", query_top_down, {0, 0, 0}, 1), "c");
    EXPECT_EQ(filtered("/CallStack", query_top_down, {0, 0}, 2), "ac");
    EXPECT_EQ(filtered("/Function/ParentCallStack", query_bottom_up, {1}, 0), "a");
    EXPECT_EQ(filtered("/Function/ParentCallStack", query_bottom_up, {1, 0}, 0), "a");
    EXPECT_EQ(filtered("/Function/ParentCallStack", query_bottom_up, {1, 0}, 2), "abc")
        << "main, wherever it stands";
    EXPECT_EQ(filtered("/Thread/Module/Function", query_flat_profile, {0, 1}, 1), "c")
        << "thread r, module app";
    EXPECT_EQ(filtered("/Thread", query_flat_profile, {0}, 1), "cd");
    EXPECT_EQ(filtered("/Function", query_flat_profile, {1}, 1), "ac");
}

TEST_F(QueryFilterTest, RowFiltersFindTheirContentInOtherResults) {
    const EngineSession pair("a|x 1\nb|x 2\n", "b|x 4\na|y 8\na|x 16\n");
    const EngineSession one("a|x 1\nb|x 2\n");
    bk2::sptr_t<ITableTree> tree;
    TreeQuestion question;
    question.sorting = "/Function";
    ASSERT_TRUE(one.run(question, tree).succeeded());
    bk2::sptr_t<IQueryFilter> filter;
    ASSERT_TRUE(bk2::interface_cast<IFilterTableTree>(tree)
                    ->createFilter({tree->getRows(nullptr)->current()}, 0, 1, filter, 0)
                    .succeeded());
    for (std::size_t input : {0u, 1u})
        ASSERT_TRUE(pair.registry(input).setQueryFilter("f", filter).succeeded());
    question.filter = "f";
    EXPECT_EQ(pair.print(question), "a -15 1 16 -15 -15 1 16 -15\n");
}

} // namespace
} // namespace panedeck::tests
