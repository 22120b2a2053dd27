#include "basekit/variant_bag.h"
#include "support/random_bag.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace bk2;
using panedeck::tests::add_chain;
using panedeck::tests::RandomBags;
using panedeck::tests::same_content;

namespace {

std::vector<std::string> child_names(const variant_bag_t& bag) {
    std::vector<std::string> names;
    for (auto child = bag.begin<variant_bag_t>(); !child.at_end(); child.next())
        names.emplace_back(child.get_name());
    return names;
}

/// Every child of the tree names the bag that holds it as its parent.
void expect_parents(const variant_bag_t& root) {
    std::vector<const variant_bag_t*> open{&root};
    while (!open.empty()) {
        const variant_bag_t& bag = *open.back();
        open.pop_back();
        for (auto child = bag.begin<variant_bag_t>(); !child.at_end(); child.next()) {
            ASSERT_EQ(child.get_value().get_parent(), &bag);
            open.push_back(&child.get_value());
        }
    }
}

TEST(variant_bag, an_empty_bag_is_small_and_has_nothing) {
    static_assert(sizeof(variant_bag_t) <= 32);
    const variant_bag_t bag;
    EXPECT_TRUE(bag.is_empty());
    EXPECT_EQ(bag.get_parent(), nullptr);
    EXPECT_EQ(bag.get_name(), "");
    EXPECT_FALSE(bag.has<variant_t>(""));
    EXPECT_EQ(bag.count<variant_t>(nullptr), 1u);
    EXPECT_EQ(bag.count<variant_bag_t>(nullptr), 0u);
    EXPECT_TRUE(bag.begin<variant_t>().at_end());
    EXPECT_TRUE(bag.begin_by_name<variant_bag_t>("a").at_end());
    EXPECT_EQ(bag.get_own_value("a"), nullptr);
}

TEST(variant_bag, appended_values_are_like_those_that_were_put) {
    variant_bag_t bag;
    bag.reserve_values(3);
    EXPECT_TRUE(bag.is_empty());
    bag.append_value("short", variant_t(1));
    bag.append_value("a name of the program's own", variant_t(2));
    for (int i = 0; i < 40; ++i)
        bag.put<variant_t>("name of many " + std::to_string(i), variant_t(i));
    bag.append_value("behind them all, in the index", variant_t(3));
    const variant_bag_t copy(bag);
    bag.put<variant_t>("a name of the program's own", variant_t(4));
    EXPECT_EQ(bag.count<variant_t>(nullptr), 44u) << "replaced in place";
    EXPECT_EQ(bag.get_variant("a name of the program's own"), variant_t(4));
    EXPECT_EQ(copy.get_variant("a name of the program's own"), variant_t(2));
    EXPECT_EQ(copy.get_variant("behind them all, in the index"), variant_t(3));
    EXPECT_EQ(copy.get_variant("short"), variant_t(1));
}

TEST(variant_bag, a_put_child_is_copied_from_an_lvalue_and_taken_from_an_rvalue) {
    variant_bag_t bag, child;
    child.put<variant_t>("x", 1);
    bag.put<variant_bag_t>("first", child);
    EXPECT_FALSE(child.is_empty());
    variant_bag_t& stored = bag.put<variant_bag_t>("first", std::move(child));
    EXPECT_TRUE(child.is_empty());
    EXPECT_EQ(bag.count<variant_bag_t>(nullptr), 1u);
    EXPECT_EQ(stored.get_parent(), &bag);
    EXPECT_TRUE(stored.has<variant_t>("x"));
}

TEST(variant_bag, references_to_children_survive_appending_and_removing) {
    variant_bag_t bag;
    variant_bag_t& first = bag.add_variant_bag("first");
    std::vector<const variant_bag_t*> others;
    for (int i = 0; i < 1000; ++i)
        others.push_back(&bag.add_variant_bag(std::to_string(i)));
    for (const variant_bag_t* other : others)
        EXPECT_TRUE(other == others[7] || bag.remove(other));
    first.put<variant_t>("still", "there");
    EXPECT_EQ(bag.get<variant_bag_t>("first"), &first);
    EXPECT_EQ(bag.get<variant_bag_t>("7"), others[7]);
    EXPECT_EQ(bag.get<variant_bag_t>("8"), nullptr);
    EXPECT_FALSE(bag.remove(&bag));
}

TEST(variant_bag, swap_moves_contents_and_keeps_names_and_parents) {
    variant_bag_t root, other;
    variant_bag_t& child = root.add_variant_bag("child");
    child.add_variant_bag("inner");
    other.add_variant_bag("x").add_variant_bag("y");
    child.swap(other);
    EXPECT_EQ(child.get_name(), "child");
    EXPECT_EQ(child.get_parent(), &root);
    EXPECT_TRUE(other.has<variant_bag_t>("inner"));
    EXPECT_TRUE(child.has<variant_bag_t>("x"));
    expect_parents(root);
    expect_parents(other);
    variant_bag_t empty;
    child.swap(empty);
    EXPECT_TRUE(child.is_empty());
    expect_parents(empty);
}

TEST(variant_bag, a_bag_may_become_its_own_child) {
    variant_bag_t bag;
    bag.add_variant_bag("child").add_variant_bag("grandchild").put<variant_t>("x", 1);
    bag = *bag.get<variant_bag_t>("child");
    EXPECT_EQ(child_names(bag), std::vector<std::string>{"grandchild"});
    bag = std::move(*bag.get<variant_bag_t>("grandchild"));
    EXPECT_TRUE(bag.has<variant_t>("x"));
    bag.add_variant_bag("copy", bag);
    EXPECT_TRUE(bag.get<variant_bag_t>("copy")->has<variant_t>("x"));
    expect_parents(bag);
}

TEST(variant_bag, a_copy_is_equal_and_independent) {
    RandomBags random;
    SCOPED_TRACE(random.seed_text());
    for (unsigned size : {1u, 10u, 100u, 3000u}) {
        const variant_bag_t bag = random.bag(size);
        variant_bag_t copy(bag);
        EXPECT_TRUE(same_content(bag, copy));
        expect_parents(copy);
        copy.put<variant_t>("only in the copy", 1);
        EXPECT_FALSE(bag.has<variant_t>("only in the copy"));
    }
}

/// The same operations on a bag and on two plain vectors, with names that repeat and bags on both sides of
/// the size where the index begins.
TEST(variant_bag, behaves_like_two_vectors) {
    RandomBags random;
    SCOPED_TRACE(random.seed_text());
    variant_bag_t bag;
    std::vector<std::pair<std::string, unsigned>> values, children;
    const auto find = [](auto& entries, const std::string& name) {
        return std::find_if(entries.begin(), entries.end(),
                            [&](const auto& entry) { return entry.first == name; });
    };
    for (unsigned step = 0; step < 3000; ++step) {
        const std::string name = "name number " + std::to_string(random.below(step % 1000 < 500 ? 60 : 6));
        const auto value = find(values, name), child = find(children, name);
        switch (random.below(6)) {
        case 0:
        case 1:
            bag.put<variant_t>(name, step);
            value == values.end() ? void(values.emplace_back(name, step)) : void(value->second = step);
            break;
        case 2:
        case 3:
            bag.add_variant_bag(name).put<variant_t>("", step);
            children.emplace_back(name, step);
            break;
        case 4:
            EXPECT_EQ(bag.remove(bag.get<variant_t>(name)), value != values.end());
            if (value != values.end()) values.erase(value);
            break;
        case 5:
            if (step % 7 == 0) {
                EXPECT_EQ(bag.remove<variant_bag_t>(name),
                          std::erase_if(children, [&](const auto& entry) { return entry.first == name; }));
                break;
            }
            EXPECT_EQ(bag.remove(bag.get<variant_bag_t>(name)), child != children.end());
            if (child != children.end()) children.erase(child);
        }
        ASSERT_EQ(bag.count<variant_t>(nullptr), values.size() + 1);
        ASSERT_EQ(bag.count<variant_bag_t>(nullptr), children.size());
        if (step % 10 == 0) {
            std::vector<std::string> names;
            for (const auto& [child_name, number] : children)
                names.push_back(child_name);
            ASSERT_EQ(child_names(bag), names);
            ASSERT_EQ(child_names(variant_bag_t(bag)), names);
        }
        const auto expected = find(values, name), first_child = find(children, name);
        ASSERT_EQ(bag.get_variant(name, -1),
                  expected == values.end() ? variant_t(-1) : variant_t(expected->second));
        auto namesake = bag.begin_by_name<variant_bag_t>(name);
        for (auto it = first_child; it != children.end(); ++it)
            if (it->first == name) {
                ASSERT_FALSE(namesake.at_end());
                ASSERT_EQ(namesake.get_value().get_variant(""), variant_t(it->second));
                namesake.next();
            }
        ASSERT_TRUE(namesake.at_end());
    }
}

TEST(variant_bag, a_million_different_names_are_put_and_found) {
    variant_bag_t bag;
    constexpr unsigned count = 1'000'000;
    for (unsigned i = 0; i < count; ++i) {
        bag.put<variant_t>(std::to_string(i), i);
        bag.add_variant_bag(std::to_string(i));
    }
    for (unsigned i = 0; i < count; i += 7) {
        ASSERT_EQ(bag.get_variant(std::to_string(i)).get<u32_t>(), i);
        ASSERT_EQ(bag.count<variant_bag_t>(std::to_string(i).c_str()), 1u);
    }
    EXPECT_FALSE(bag.has<variant_t>("1000000"));
}

TEST(variant_bag, a_million_levels_are_built_copied_and_destroyed) {
    variant_bag_t bag;
    add_chain(bag, 1'000'000).put<variant_t>("leaf", true);
    const variant_bag_t copy(bag);
    bag.clear();
    const variant_bag_t* last = &copy;
    unsigned depth = 0;
    for (; const variant_bag_t* next = last->get<variant_bag_t>("a"); last = next)
        ++depth;
    EXPECT_EQ(depth, 1'000'000u);
    EXPECT_TRUE(last->has<variant_t>("leaf"));
}

} // namespace
