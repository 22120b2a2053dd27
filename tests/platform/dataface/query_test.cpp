#include "dataface/query.h"
#include "slicerkit/table_tree_query.h"
#include "support/fake_queries.h"

#include <gtest/gtest.h>

namespace panedeck::tests {
namespace {

using dataface1::IInfoQuery;
using dataface1::IQuery;
using dataface1::IVectorQuery;
using query_t = bk2::sptr_t<IQuery>;

std::vector<std::string> memberNames(const bk2::sptr_t<IVectorQuery>& vector) {
    std::vector<std::string> names;
    for (auto members = vector->getQueryIterator(); !members->at_end(); members->next())
        names.push_back(members->current()->getName());
    return names;
}

TEST(VectorQuery, GrowsWithoutChangingWhatItGrewFrom) {
    const auto a = makeMetric("a");
    const auto one = IVectorQuery::pushBack(nullptr, a);
    const auto two = IVectorQuery::pushBack(one, makeMetric("b"));
    EXPECT_EQ(memberNames(one), std::vector<std::string>{"a"});
    EXPECT_EQ(memberNames(two), (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(two->getName(), "a,b");
    EXPECT_EQ(one->getName(), "a");
    EXPECT_EQ(IVectorQuery::pushBack(one, nullptr), nullptr);
}

TEST(VectorQuery, AnswersAsItsFirstMember) {
    const auto metric = makeMetric("a", dataface1::query_value_type_t::time);
    metric->attributes["expand"] = bk2::variant_t(true);
    metric->description = "says";
    const query_t vector = makeVector({metric, makeMetric("b")});
    EXPECT_EQ(vector->getValueType(), dataface1::query_value_type_t::time);
    EXPECT_EQ(vector->getAttribute("expand", bk2::variant_t(false)), bk2::variant_t(true));
    EXPECT_EQ(vector->getDescription(), "says");
    EXPECT_EQ(dataface1::throughVector(vector), query_t(metric));
    EXPECT_EQ(dataface1::throughVector(metric), query_t(metric));
    EXPECT_EQ(dataface1::throughVector(nullptr), nullptr);
}

TEST(VectorQuery, IsTheSameAsOneOfTheSameMembers) {
    const auto make = [](std::vector<std::string> names) {
        std::vector<query_t> members;
        for (const auto& name : names)
            members.push_back(makeMetric(name));
        return makeVector(members);
    };
    EXPECT_TRUE(make({"a", "b"})->isSame(*make({"a", "b"})));
    EXPECT_FALSE(make({"a", "b"})->isSame(*make({"b", "a"})));
    EXPECT_FALSE(make({"a", "b"})->isSame(*make({"a"})));
    EXPECT_FALSE(make({"a"})->isSame(*make({"a", "b"})));
    EXPECT_FALSE(make({"a"})->isSame(*makeMetric("a")));
}

TEST(VectorQuery, ExpandsEachMember) {
    const auto stubborn = makeMetric("b");
    const auto vector = makeVector({makeMetric("a"), stubborn});
    const auto expanded = IQuery::combineExpansion(vector, makeMetric("/Thread"));
    EXPECT_EQ(memberNames(IVectorQuery::cast(expanded)),
              (std::vector<std::string>{"a<+/Thread>", "b<+/Thread>"}));
    EXPECT_EQ(memberNames(IVectorQuery::cast(IQuery::combineExpansion(expanded, nullptr))),
              (std::vector<std::string>{"a", "b"}));
    stubborn->refusesExpansion = true;
    EXPECT_EQ(IQuery::combineExpansion(vector, nullptr), nullptr);
    EXPECT_EQ(IQuery::combineExpansion(nullptr, nullptr), nullptr);
}

TEST(Query, CastsToWhatItIs) {
    const query_t info = bk2::make_sptr<FakeInfoQuery>("/Function");
    EXPECT_TRUE(IInfoQuery::cast(info));
    EXPECT_FALSE(IInfoQuery::cast(makeMetric("m")));
    EXPECT_FALSE(IVectorQuery::cast(info));
    EXPECT_FALSE(dataface1::IDerivedQuery::cast(nullptr));
    EXPECT_FALSE(dataface1::ITimeQuery::cast(info));
}

TEST(TableTreeQuery, NeedsAProvider) {
    slicerkit1::ITableTreeQuery::setFactory(nullptr);
    EXPECT_EQ(slicerkit1::ITableTreeQuery::create(), nullptr);
}

} // namespace
} // namespace panedeck::tests
