#include "store/stack_tree.h"
#include "support/profile_from_text.h"

#include <gtest/gtest.h>

#include <random>

namespace panedeck::tests {
namespace {

using Nodes = std::vector<engine::CallsiteIndex>;

TEST(StackTree, NumbersNodesInPreorder) {
    //  0 -> 1 -> 3, 5;  0 -> 2 -> 4
    const Nodes parents{0, 0, 0, 1, 2, 1};
    EXPECT_FALSE(engine::isPreorder(parents));
    EXPECT_EQ(engine::preorderNumbers(parents), (Nodes{0, 1, 4, 2, 5, 3}));
}

TEST(StackTree, RenumbersSamplesWithTheirNodes) {
    engine::ProfileData data = profileFromText("a;b 1\nc;d 2\na;e 3\n");
    engine::sortIntoPreorder(data);
    EXPECT_EQ(data.callsite_parents, (Nodes{0, 0, 1, 1, 0, 4}));
    EXPECT_EQ(data.sample_callsites, (Nodes{2, 5, 3}));
    std::vector<std::string> names;
    for (const auto function : data.callsite_functions)
        names.push_back(data.names[data.functions[function].name]);
    EXPECT_EQ(names, (std::vector<std::string>{"", "a", "b", "e", "c", "d"}));
}

TEST(StackTree, PreorderIsRecognisedAndStable) {
    std::mt19937 random(1);
    for (int round = 0; round < 200; ++round) {
        Nodes parents{0};
        for (engine::CallsiteIndex node = 1; node < 40; ++node)
            parents.push_back(random() % node);
        const Nodes numbers = engine::preorderNumbers(parents);
        Nodes sorted(parents.size());
        for (std::size_t node = 0; node < parents.size(); ++node)
            sorted[numbers[node]] = numbers[parents[node]];
        ASSERT_TRUE(engine::isPreorder(sorted));
        Nodes itself(parents.size());
        for (engine::CallsiteIndex node = 0; node < itself.size(); ++node)
            itself[node] = node;
        ASSERT_EQ(engine::preorderNumbers(sorted), itself);
        const Nodes ends = engine::subtreeEnds(sorted);
        for (engine::CallsiteIndex node = 1; node < sorted.size(); ++node)
            ASSERT_TRUE(sorted[node] < node && ends[node] <= ends[sorted[node]]);
    }
}

TEST(StackTree, TakesAHundredThousandLevels) {
    Nodes parents(100'000, 0);
    for (engine::CallsiteIndex node = 1; node < parents.size(); ++node)
        parents[node] = node - 1;
    EXPECT_TRUE(engine::isPreorder(parents));
    EXPECT_EQ(engine::subtreeEnds(parents)[1], parents.size());
}

} // namespace
} // namespace panedeck::tests
