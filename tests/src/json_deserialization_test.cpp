#include "support/log_capture.h"
#include "transport/json_serialization.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

using namespace bk2;
using namespace panedeck;
using panedeck::tests::LogCapture;

namespace {

variant_bag_t read(const ustring8& text) {
    variant_bag_t bag;
    const error_code_t error = load_variant_bag_from_json_string(text, bag);
    EXPECT_TRUE(error.succeeded()) << error.as_string() << " in " << text.substr(0, 200);
    return bag;
}

std::string write(const variant_bag_t& bag) {
    ustring8 text;
    EXPECT_TRUE(save_variant_bag_to_json_string(bag, text, JSONFormat::compact).succeeded());
    return text;
}

TEST(json_reading, scalars_take_the_kind_that_fits) {
    const struct {
        const char* text;
        das_variant_type_t tag;
        const char* value;
    } cases[] = {
        {"true", vt_bool, "true"},
        {"null", vt_null, ""},
        {"\"\"", vt_text, ""},
        {R"("a\u0000\"\ud83d\ude00")", vt_text, nullptr},
        {"0", vt_u32, "0"},
        {"4294967295", vt_u32, "4294967295"},
        {"4294967296", vt_u64, "4294967296"},
        {"18446744073709551615", vt_u64, "18446744073709551615"},
        {"18446744073709551616", vt_double, "1.8446744073709552e+19"},
        {"-0", vt_s32, "0"},
        {"-2147483648", vt_s32, "-2147483648"},
        {"-2147483649", vt_s64, "-2147483649"},
        {"-9223372036854775808", vt_s64, "-9223372036854775808"},
        {"-9223372036854775809", vt_double, "-9.223372036854775808e+18"},
        {"1.0", vt_double, "1"},
        {"1e2", vt_double, "100"},
        {"0.1", vt_double, "0.1"},
        {"5e-324", vt_double, "5e-324"},
    };
    for (const auto& c : cases) {
        const variant_t value = read(c.text).get_variant("", "none");
        EXPECT_EQ(value.tag(), c.tag) << c.text;
        if (c.tag == vt_double)
            EXPECT_EQ(value.get<double>(), std::strtod(c.value, nullptr)) << c.text;
        else if (c.value)
            EXPECT_EQ(get_value_string(value), c.value) << c.text;
        else
            EXPECT_EQ(value.text(), std::string_view("a\0\"\xF0\x9F\x98\x80", 7));
    }
}

// A text and what it comes back as.
TEST(json_reading, shapes_survive_as_far_as_bags_hold_them) {
    const std::pair<const char*, const char*> cases[] = {
        {"[]", "[]"},
        {"{}", "null"},
        {R"([1,"a"])", R"([1,"a"])"},
        {"[[],[[null]]]", "[[],[[null]]]"},
        {"[{}]", "[null]"},
        {R"({"a":[{"b":1}]})", R"({"a":[{"b":1}]})"},
        {R"({"a":{"x":1},"b":2})", R"({"b":2,"a":{"x":1}})"},
        {R"({"a":1,"b":2,"a":3})", R"({"a":3,"b":2})"},
        {R"({"a":{"x":1},"a":{"x":2}})", R"({"a":{"x":1},"a":{"x":2}})"},
        {R"({"":7})", "7"},
        {R"({"value":"9007199254740993","type":"bigInt"})",
         R"({"value":"9007199254740993","type":"bigInt"})"},
        {R"({"arrayOf":"row","a":1,"b":{"x":2}})", R"([1,{"x":2}])"},
        {R"({"early":1,"arrayOf":"row","a":{"x":2}})", R"([{"x":2}])"},
        {R"({"arrayOf":7,"a":{"x":2}})", "[]"},
        {R"({"arrayOf":{"x":1},"a":2})", R"({"a":2,"arrayOf":{"x":1}})"},
        {R"({"arrayOf":[1],"a":2})", R"({"a":2,"arrayOf":[1]})"},
        {" \t\r\n[ 1 , 2 ] \n", "[1,2]"},
    };
    for (const auto& [text, back] : cases)
        EXPECT_EQ(write(read(text)), back) << text;
}

TEST(json_reading, array_elements_are_children_with_an_own_value) {
    const variant_bag_t bag = read(R"([1,"a"])");
    EXPECT_EQ(bag.get_variant("arrayOf").text(), "item");
    EXPECT_EQ(bag.get_variant("arrayOf").tag(), vt_text);
    EXPECT_EQ(bag.count<variant_bag_t>("item"), 2u);
    EXPECT_EQ(bag.get_own_value("item")->get<u32_t>(), 1u);
}

TEST(json_reading, an_object_takes_its_element_name_from_a_member_read_before) {
    const variant_bag_t bag = read(R"({"before":1,"arrayOf":"row","after":2,"other":{"x":3},"list":[4]})");
    EXPECT_TRUE(bag.has<variant_t>("before"));
    EXPECT_FALSE(bag.has<variant_t>("after"));
    EXPECT_EQ(bag.count<variant_bag_t>("row"), 3u);
    const variant_bag_t numbered = read(R"({"arrayOf":7,"a":1})");
    EXPECT_EQ(numbered.get_own_value("item")->get<u32_t>(), 1u);
}

TEST(json_reading, a_bag_with_content_is_refused) {
    LogCapture log;
    variant_bag_t bag;
    bag.put<variant_t>("a", 1);
    EXPECT_EQ(load_variant_bag_from_json_string("{}", bag).as_string(),
              "IsNot.Valid.Argument: Expected empty variant bag");
    EXPECT_EQ(log.count("IsNot.Valid.Argument:Expected empty variant bag"), 1);
    EXPECT_EQ(bag.count<variant_t>(nullptr), 2u);
}

TEST(json_reading, broken_text_is_refused_with_place_and_reason) {
    const std::pair<ustring8, const char*> cases[] = {
        {"", "The document is empty."},
        {"  ", "The document is empty."},
        {"{} x", "The document root must not follow by other values."},
        {"{}{}", "The document root must not follow by other values."},
        {ustring8("1\0x", 3), "The document root must not follow by other values."},
        {"{a:1}", "Missing a name for object member."},
        {"{\"a\" 1}", "Missing a colon after a name of object member."},
        {"{\"a\":1 \"b\":2}", "Missing a comma or '}' after an object member."},
        {"[1 2]", "Missing a comma or ']' after an array element."},
        {"[1,]", "Invalid value."},
        {"nul", "Invalid value."},
        {"\"a", "Missing a closing quotation mark in string."},
        {"\"\\x\"", "Invalid escape character in string."},
        {"\"\\ud800\"", "The surrogate pair in string is invalid."},
        {"1e999", "Number too big to be stored in double."},
        {"[", "Invalid value."},
    };
    for (const auto& [text, reason] : cases) {
        LogCapture log;
        variant_bag_t bag;
        const error_code_t error = load_variant_bag_from_json_string(text, bag);
        EXPECT_EQ(error.kind(), kinds::failed_to_execute_this_operation);
        EXPECT_THAT(std::string(error.message()),
                    testing::MatchesRegex("JSON deserialization error at position [0-9]+: .*"));
        EXPECT_THAT(std::string(error.message()), testing::HasSubstr(std::string(": ") + reason)) << text;
        EXPECT_EQ(log.count("FailedTo.Execute.This.Operation:JSON deserialization error"), 1);
    }
}

TEST(json_reading, the_position_is_a_byte_offset_and_the_bag_keeps_what_came_before) {
    LogCapture log;
    variant_bag_t bag;
    EXPECT_EQ(load_variant_bag_from_json_string(R"({"a":1,"b":{"c":2},!)", bag).message().substr(0, 43),
              "JSON deserialization error at position 19: ");
    EXPECT_EQ(bag.get_variant("a").get<u32_t>(), 1u);
    EXPECT_TRUE(bag.get<variant_bag_t>("b")->has<variant_t>("c"));
}

TEST(json_reading, depth_and_width_are_no_matter) {
    constexpr std::size_t count = 1'000'000;
    EXPECT_EQ(write(read(std::string(count, '[') + std::string(count, ']'))).size(), 2 * count);
    LogCapture log;
    variant_bag_t open;
    EXPECT_TRUE(load_variant_bag_from_json_string(std::string(count, '['), open).failed());
    EXPECT_TRUE(open.has<variant_bag_t>("item"));

    std::string wide = "{";
    for (std::size_t i = 0; i < count / 4; ++i)
        wide += "\"v" + std::to_string(i) + "\":1,\"c" + std::to_string(i) + "\":{\"x\":1},";
    wide.back() = '}';
    EXPECT_EQ(write(read(wide)).size(), wide.size());
}

} // namespace
