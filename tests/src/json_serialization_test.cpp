#include "json_output.h"
#include "support/log_capture.h"
#include "support/random_bag.h"
#include "transport/json_serialization.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <sstream>

using namespace bk2;
using namespace panedeck;
using panedeck::tests::add_chain;
using panedeck::tests::LogCapture;
using panedeck::tests::RandomBags;
using panedeck::tests::same_content;

namespace {

std::string write(const variant_bag_t& bag, JSONFormat format = JSONFormat::compact) {
    ustring8 text;
    EXPECT_TRUE(save_variant_bag_to_json_string(bag, text, format).succeeded());
    return text;
}

variant_bag_t read(const ustring8& text) {
    variant_bag_t bag;
    const error_code_t error = load_variant_bag_from_json_string(text, bag);
    EXPECT_TRUE(error.succeeded()) << error.as_string() << " in " << text.substr(0, 200);
    return bag;
}

TEST(json_writing, each_kind_of_value_has_its_form) {
    constexpr s64_t limit = 0x1FFFFFFFFFFFFF;
    const std::pair<variant_t, const char*> cases[] = {
        {true, "true"},
        {false, "false"},
        {s8_t(-1), "-1"},
        {u8_t(255), "255"},
        {s16_t(-1), "-1"},
        {u16_t(65535), "65535"},
        {std::numeric_limits<s32_t>::min(), "-2147483648"},
        {std::numeric_limits<u32_t>::max(), "4294967295"},
        {limit - 1, "9007199254740990"},
        {limit, "{\"value\":\"9007199254740991\",\"type\":\"bigInt\"}"},
        {-limit + 1, "-9007199254740990"},
        {-limit, "{\"value\":\"-9007199254740991\",\"type\":\"bigInt\"}"},
        {std::numeric_limits<s64_t>::min(), "{\"value\":\"-9223372036854775808\",\"type\":\"bigInt\"}"},
        {u64_t(limit - 1), "9007199254740990"},
        {u64_t(limit), "{\"value\":\"9007199254740991\",\"type\":\"bigInt\"}"},
        {std::numeric_limits<u64_t>::max(), "{\"value\":\"18446744073709551615\",\"type\":\"bigInt\"}"},
        {0.1, "0.1"},
        {0.5f, "0.5"},
        {1.0, "1.0"},
        {std::nan(""), "null"},
        {std::numeric_limits<double>::infinity(), "null"},
        {-std::numeric_limits<float>::infinity(), "null"},
        {"", "\"\""},
        {variant_t::borrow("borrowed"), "\"borrowed\""},
        {"/\x7F", "\"/\x7F\""},
        {"\"\\\b\f\n\r\t", "\"\\\"\\\\\\b\\f\\n\\r\\t\""},
        {std::string_view("\0\x1F\x0B", 3), "\"\\u0000\\u001F\\u000B\""},
        {"\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80", "\"\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\""},
        {"a\xC3|\xFF\xE2\x82", "\"a\xEF\xBF\xBD|\xEF\xBF\xBD\xEF\xBF\xBD\""},
        {variant_t(), "null"},
    };
    for (const auto& [value, text] : cases) {
        variant_bag_t bag;
        bag.put<variant_t>("", value);
        EXPECT_EQ(write(bag), text);
        bag.put<variant_t>("b\xFF\n", value);
        EXPECT_EQ(write(bag), "{\"\":" + std::string(text) + ",\"b\xEF\xBF\xBD\\n\":" + text + "}");
    }
}

TEST(json_writing, what_has_no_form_is_logged) {
    LogCapture log;
    variant_bag_t bag;
    bag.put<variant_t>("wide", variant_t(L"w"));
    bag.put<variant_t>("binary", variant_t::binary("b", 1));
    bag.put<variant_t>("object", variant_t(sptr_t<object_interface_t>()));
    EXPECT_EQ(write(bag), R"({"wide":"","binary":null,"object":null})");
    EXPECT_EQ(log.count("can_get<T>()"), 1);
    EXPECT_EQ(log.count("JSON serialization for variant type 16 is not supported., at file: src/"), 1);
    EXPECT_EQ(log.count("JSON serialization for variant type 18 is not supported."), 1);
}

TEST(json_writing, values_come_before_children_and_names_may_repeat) {
    variant_bag_t bag;
    bag.add_variant_bag("c").put<variant_t>("x", 1);
    bag.put_own_value("c", "own");
    bag.add_variant_bag("empty");
    bag.put<variant_t>("v", "first");
    EXPECT_EQ(write(bag), R"({"v":"first","c":{"x":1},"c":"own","empty":null})");
    EXPECT_EQ(write(variant_bag_t()), "null");
}

TEST(json_writing, an_own_value_with_company_is_no_leaf) {
    variant_bag_t bag;
    bag.put<variant_t>("", 1);
    bag.put<variant_t>("other", 2);
    EXPECT_EQ(write(bag), R"({"":1,"other":2})");
    bag.remove<variant_t>("other");
    EXPECT_EQ(write(bag), "1");
    bag.add_variant_bag("child");
    EXPECT_EQ(write(bag), R"({"":1,"child":null})");
}

TEST(json_writing, an_array_holds_the_children_of_its_element_name_only) {
    variant_bag_t bag;
    bag.put<variant_t>("dropped", 1);
    bag.put<variant_t>("arrayOf", "row");
    bag.put_own_value("row", 1);
    bag.put_own_value("dropped", 2);
    bag.add_variant_bag("row").put<variant_t>("x", true);
    EXPECT_EQ(write(bag), R"([1,{"x":true}])");
    bag.put<variant_t>("arrayOf", 5);
    EXPECT_EQ(write(bag), "[]");
}

TEST(json_writing, the_pretty_form_is_indented_by_four) {
    const variant_bag_t bag = read(R"({"a":1,"l":["x",[]],"n":null})");
    EXPECT_EQ(write(bag, JSONFormat::pretty),
              "{\n    \"a\": 1,\n    \"n\": null,\n    \"l\": [\n        \"x\",\n        []\n    ]\n}");
    EXPECT_EQ(write(bag, static_cast<JSONFormat>(7)), write(bag, JSONFormat::pretty));
}

TEST(json_writing, a_text_is_appended_to_and_a_stream_gets_the_same) {
    RandomBags random;
    SCOPED_TRACE(random.seed_text());
    const variant_bag_t bag = random.bag(20'000);
    LogCapture log(
        static_cast<logkit1::level_t>(60000)); // wide texts and binaries say that they have no form
    ustring8 text = "{\"response\":";
    EXPECT_TRUE(save_variant_bag_to_json_string(bag, text, JSONFormat::compact).succeeded());
    std::ostringstream stream;
    EXPECT_TRUE(save_variant_bag_to_json_string(bag, stream, JSONFormat::compact).succeeded());
    EXPECT_EQ(text, "{\"response\":" + stream.str());
    EXPECT_GT(text.size(), 100'000u);
}

TEST(json_writing, texts_longer_than_the_block_come_out_whole) {
    std::string expected = "[";
    variant_bag_t bag;
    bag.put<variant_t>("arrayOf", "item");
    for (std::size_t size : {31'000u, 32'760u, 32'767u, 32'768u, 32'769u, 200'000u}) {
        std::string text(size, 'x');
        text[size / 2] = '\n';
        bag.put_own_value("item", text);
        expected += "\"" + text.replace(size / 2, 1, "\\n") + "\",";
    }
    expected.back() = ']';
    EXPECT_EQ(write(bag), expected);
}

TEST(json_writing, does_not_recurse) {
    variant_bag_t bag;
    constexpr std::size_t depth = 1'000'000;
    add_chain(bag, depth).put<variant_t>("", 7);
    EXPECT_EQ(write(bag).size(), depth * std::string(R"({"a":})").size() + 1);
}

/// As `random`, with what JSON keeps: texts, booleans, numbers, null, no empty child, nothing that makes an
/// array.
variant_bag_t random_json_bag(RandomBags& random) {
    variant_bag_t root;
    std::vector<variant_bag_t*> bags{&root};
    const auto value = [&random]() -> variant_t {
        switch (random.below(7)) {
        case 0:
            return random.below(2) == 0;
        case 1:
            return static_cast<s32_t>(random.below(1u << 31)) * -1 - 1;
        case 2:
            return u32_t(random.below(~0u));
        case 3:
            return (s64_t(random.below(1u << 20)) << 32) * -1 - s64_t(0x80000001);
        case 4:
            return u64_t(random.below(1u << 20) + 1) << 32;
        case 5:
            return random.below(~0u) / -7.0;
        default:
            return random.text();
        }
    };
    for (unsigned size = 1 + random.below(60); size > 0; --size) {
        variant_bag_t& target = *bags[random.below(static_cast<unsigned>(bags.size()))];
        variant_bag_t* child =
            random.below(2)
                ? &target.add_variant_bag(target.has<variant_t>("arrayOf") ? "item" : random.name())
                : &target;
        if (child != &target) bags.push_back(child);
        const bool is_new_array = child != &target && random.below(3) == 0;
        if (is_new_array)
            child->put<variant_t>("arrayOf", "item");
        else if (!child->has<variant_t>("arrayOf"))
            child->put<variant_t>("v" + random.name(), value());
        else
            child->put_own_value("item", value());
    }
    return root;
}

TEST(json_round_trip, random_bags_come_back_as_they_were) {
    RandomBags random;
    SCOPED_TRACE(random.seed_text());
    for (int i = 0; i < 500; ++i) {
        const variant_bag_t bag = random_json_bag(random);
        for (const JSONFormat format : {JSONFormat::compact, JSONFormat::pretty}) {
            const std::string text = write(bag, format);
            ASSERT_TRUE(same_content(bag, read(text))) << text;
        }
    }
}

} // namespace
