#include "basekit/variant_bag_xml.h"
#include "support/log_capture.h"
#include "support/random_bag.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <ctime>

using namespace bk2;
using panedeck::tests::add_chain;
using panedeck::tests::LogCapture;
using panedeck::tests::RandomBags;
using panedeck::tests::same_content;

namespace {

std::string write(const variant_bag_t& bag, const char* path = "msg") {
    ustring8 text = "replaced";
    EXPECT_TRUE(save_variant_bag_to_string2(bag, text, path).succeeded());
    return text;
}

variant_bag_t read(const std::string& text, const char* path = "msg") {
    variant_bag_t bag;
    const error_code_t error = load_variant_bag_from_string2(bag, text, path);
    EXPECT_TRUE(error.succeeded()) << error.as_string() << " in " << text;
    return bag;
}

std::string failure(const std::string& text, const char* path = "msg") {
    variant_bag_t bag;
    bag.put<variant_t>("left over", 1);
    const error_code_t error = load_variant_bag_from_string2(bag, text, path);
    EXPECT_FALSE(bag.has<variant_t>("left over"));
    EXPECT_TRUE(error.succeeded() || (bag.is_empty() && error.kind() == kinds::is_not_valid_data));
    return std::string(error.message());
}

struct value_case_t {
    variant_t value;
    std::string element; // of an entry named v
};

TEST(variant_bag_xml, every_kind_of_value_has_its_form) {
    const value_case_t cases[] = {
        {"text", "<v>text</v>"},
        {"", "<v></v>"},
        {" blanks stay ", "<v> blanks stay </v>"},
        {variant_t::borrow("borrowed"), "<v>borrowed</v>"},
        {"<&>\"'\t\n\r", "<v>&lt;&amp;&gt;\"'\t\n&#13;</v>"},
        {std::string_view("\x0B\0\x1F", 3), "<v>\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD</v>"},
        {"\xC3\xA9\xC3|\xEF\xBF\xBE|\x7F", "<v>\xC3\xA9\xEF\xBF\xBD|\xEF\xBF\xBD|\x7F</v>"},
        {true, "<v type=\"bool\">true</v>"},
        {s8_t(-1), "<v type=\"s8_t\">-1</v>"},
        {u8_t(255), "<v type=\"u8_t\">255</v>"},
        {s16_t(-1), "<v type=\"s16_t\">-1</v>"},
        {u16_t(65535), "<v type=\"u16_t\">65535</v>"},
        {s32_t(-1), "<v type=\"s32_t\">-1</v>"},
        {u32_t(4294967295), "<v type=\"u32_t\">4294967295</v>"},
        {std::numeric_limits<s64_t>::min(), "<v type=\"s64_t\">-9223372036854775808</v>"},
        {std::numeric_limits<u64_t>::max(), "<v type=\"u64_t\">18446744073709551615</v>"},
        {0.1f, "<v type=\"float\">0.1</v>"},
        {0.1, "<v type=\"double\">0.1</v>"},
        {variant_t(L"\u20AC"), "<v type=\"wtext\">\xE2\x82\xAC</v>"},
        {variant_t::borrow(L"w"), "<v type=\"wtext\">w</v>"},
        {variant_t::binary("\0\xFF", 2), "<v type=\"binary\">AP8=</v>"},
        {variant_t(), "<v type=\"null\"/>"},
    };
    for (const value_case_t& c : cases) {
        variant_bag_t bag;
        bag.put<variant_t>("v", c.value);
        EXPECT_EQ(write(bag), "<msg>" + c.element + "</msg>");
    }
}

TEST(variant_bag_xml, names_that_are_no_plain_ones_stand_in_an_attribute) {
    const std::pair<const char*, const char*> cases[] = {
        {"plain", "<plain></plain>"},
        {"_a.b-9", "<_a.b-9></_a.b-9>"},
        {"", "<_></_>"},
        {"_", "<_ name=\"_\"></_>"},
        {"9a", "<_ name=\"9a\"></_>"},
        {"a:b", "<_ name=\"a:b\"></_>"},
        {"\xC3\xA9", "<_ name=\"\xC3\xA9\"></_>"},
        {"<\"&'>\t\n\r\x01", "<_ name=\"&lt;&quot;&amp;'&gt;&#9;&#10;&#13;\xEF\xBF\xBD\"></_>"},
        {"msg", "<_ name=\"msg\"></_>"}, // or the text would hold a second </msg>
    };
    for (const auto& [name, element] : cases) {
        variant_bag_t bag;
        bag.put<variant_t>(name, "");
        EXPECT_EQ(write(bag), std::string("<msg>") + element + "</msg>");
    }
}

TEST(variant_bag_xml, values_come_before_children_inside_the_path) {
    variant_bag_t bag;
    bag.add_variant_bag("gridid").put<variant_t>("", "g1");
    bag.add_variant_bag("empty");
    bag.put<variant_t>("id", "17");
    EXPECT_EQ(write(bag, "msg.response"),
              "<msg><response><id>17</id><gridid><_>g1</_></gridid><empty type=\"bag\"/></response></msg>");
    EXPECT_EQ(write(variant_bag_t()), "<msg></msg>");
    EXPECT_EQ(write(variant_bag_t(), "msg.response"), "<msg><response type=\"bag\"/></msg>");
}

TEST(variant_bag_xml, an_object_reference_is_logged_and_written_as_null) {
    LogCapture log;
    variant_bag_t bag;
    bag.put<variant_t>("o", variant_t(sptr_t<object_interface_t>()));
    EXPECT_EQ(write(bag), "<msg><o type=\"null\"/></msg>");
    EXPECT_EQ(log.count("XML serialization for variant type 18 is not supported"), 1);
}

TEST(variant_bag_xml, without_a_path_nothing_is_written) {
    ustring8 text;
    EXPECT_EQ(save_variant_bag_to_string2(variant_bag_t(), text, "").kind(), kinds::is_not_valid_argument);
    EXPECT_EQ(save_variant_bag_to_string2(variant_bag_t(), text, nullptr).kind(),
              kinds::is_not_valid_argument);
}

TEST(variant_bag_xml, random_bags_come_back_as_they_were) {
    RandomBags random;
    SCOPED_TRACE(random.seed_text());
    for (int i = 0; i < 300; ++i) {
        const variant_bag_t bag = random.bag(1 + random.below(60));
        for (const char* path : {"msg", "msg.response", "bag"}) {
            const std::string text = write(bag, path);
            ASSERT_TRUE(same_content(bag, read(text, path))) << text;
            ASSERT_EQ(get_xml_size(bag, path), text.size()) << text;
        }
        const std::string text = write(bag);
        ASSERT_EQ(text.find("</msg>"), text.size() - 6) << text;
        ASSERT_EQ(text.find('\x0B'), text.npos);
    }
}

TEST(variant_bag_xml, not_a_number_and_the_infinities_come_back) {
    variant_bag_t bag;
    bag.put<variant_t>("nan", std::nan(""));
    bag.put<variant_t>("minus", -std::numeric_limits<double>::infinity());
    const variant_bag_t back = read(write(bag));
    EXPECT_TRUE(std::isnan(back.get_variant("nan").get<double>()));
    EXPECT_EQ(back.get_variant("minus"), bag.get_variant("minus"));
}

// What is read, shown by writing it again.
TEST(variant_bag_xml, is_read_more_generously_than_written) {
    const std::pair<const char*, const char*> cases[] = {
        {"<msg/>", ""},
        {"<msg></msg>", ""},
        {"<msg type=\"bag\"/>", ""},
        {"<msg>own</msg>", "<_>own</_>"},
        {"<msg><a/></msg>", "<a></a>"},
        {"<msg><a> x </a></msg>", "<a> x </a>"},
        {"<msg><a type=\"bag\"> x\n </a></msg>", "<a><_>x</_></a>"},
        {"<msg><a>\n <b/> mixed <b/>text</a></msg>", "<a><b></b><_>mixed text</_></a>"},
        {"<msg><request id=\"1\" type=\"grid:get\"/></msg>",
         "<request><id>1</id><type>grid:get</type></request>"},
        {"<msg><a type=\"s32_t\">-7</a></msg>", "<a type=\"s32_t\">-7</a>"},
        {"<msg><a unit=\"ms\" type=\"s32_t\"> -7 </a></msg>",
         "<a><unit>ms</unit><_ type=\"s32_t\">-7</_></a>"},
        {"<msg><a name=\"n\"/></msg>", "<a><name>n</name></a>"},
        {"<msg><_ x=\"1\" name=\"a\"/></msg>", "<a><x>1</x></a>"},
        {"<msg at=\"1\"><a/></msg>", "<at>1</at><a></a>"},
        {"<msg xmlns=\"urn:x\" xmlns:y=\"urn:y\"><y:a/></msg>", "<_ name=\"y:a\"></_>"},
        {"<msg><!-- c --><a>1<!-- c -->2<![CDATA[<&]]>3</a><?pi x?></msg>", "<a>12&lt;&amp;3</a>"},
        {"<msg><a>&#x41;&#10;&lt;&quot;</a></msg>", "<a>A\n&lt;\"</a>"},
        {"<msg><a>1</a><b/><a>2</a></msg>", "<a>2</a><b></b>"},
        {"<msg><a type=\"bag\"/><a><b/></a></msg>", "<a type=\"bag\"/><a><b></b></a>"},
        {"<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n<msg><a>\xC3\xA9</a></msg>\n", "<a>\xC3\xA9</a>"},
        {"\xEF\xBB\xBF<msg><a/></msg>", "<a></a>"},
    };
    for (const auto& [text, expected] : cases) {
        const variant_bag_t bag = read(text);
        variant_bag_t wanted = read(std::string("<msg>") + expected + "</msg>");
        EXPECT_TRUE(same_content(bag, wanted)) << text << "\n" << write(bag);
    }
}

TEST(variant_bag_xml, the_path_names_the_elements_around_the_content) {
    const std::string text = "<a at=\"1\">t<x/><b><c>1</c></b><b><c>2</c></b></a>";
    EXPECT_EQ(read(text, "a.b").get_variant("c").text(), "1");
    EXPECT_TRUE(read(text, "").has<variant_bag_t>("b"));
    EXPECT_TRUE(read("<b><b type=\"bag\"/></b>", "b.b").is_empty());
    EXPECT_EQ(failure(text, "msg"), "XML, line 1: the root element is <a>, not <msg>");
    EXPECT_EQ(failure(text, "a.c"), "XML, there is no element a.c");
}

struct refusal_case_t {
    std::string text;
    const char* message; // how the message begins
};

TEST(variant_bag_xml, hostile_and_broken_texts_are_refused_with_a_reason) {
    std::string deep;
    for (int i = 0; i < 100'000; ++i)
        deep += "<a>";
    const refusal_case_t cases[] = {
        {"", "XML, line 1: the text is empty"},
        {"\n \n", "XML, line 1: the text is empty"},
        {"no xml", "XML, line 1: syntax error"},
        {"<msg>\n<a></msg>", "XML, line 2: mismatched tag"},
        {"<msg>", "XML, line 1: no element found"},
        {"<msg/><msg/>", "XML, line 1: junk after document element"},
        {"<msg>&unknown;</msg>", "XML, line 1: undefined entity"},
        {"<msg a='1' a='2'/>", "XML, line 1: duplicate attribute"},
        {std::string("<msg>\n\0</msg>", 13), "XML, line 2: the text has a zero byte"},
        {"<msg>\n\n\xFF</msg>", "XML, line 3: the text is not UTF-8"},
        {std::string("<\0m\0s\0g\0/\0>\0", 12), "XML, line 1: the text has a zero byte"},
        {"<!DOCTYPE msg><msg/>", "XML, line 1: a document type declaration is not accepted"},
        {"\n<!DOCTYPE msg SYSTEM 'file:///etc/passwd'><msg/>", "XML, line 2: a document type"},
        {"<!DOCTYPE m [<!ENTITY x SYSTEM 'file:///etc/passwd'>]><msg>&x;</msg>",
         "XML, line 1: a document type"},
        {"<!DOCTYPE m [<!ENTITY a 'aa'><!ENTITY b '&a;&a;'>]><msg>&b;</msg>", "XML, line 1: a document type"},
        {"<msg>" + deep, "XML, line 1: elements are nested deeper than 512"},
        {"<msg><a type='bool'>yes</a></msg>", "XML, line 1: \"yes\" is no value of the kind bool"},
        {"<msg><a type='s8_t'>128</a></msg>", "XML, line 1: \"128\" is no value of the kind s8_t"},
        {"<msg><a type='u32_t'>-1</a></msg>", "XML, line 1: \"-1\" is no value of the kind u32_t"},
        {"<msg><a type='u32_t'></a></msg>", "XML, line 1: \"\" is no value of the kind u32_t"},
        {"<msg><a type='s64_t'>1x</a></msg>", "XML, line 1: \"1x\" is no value of the kind s64_t"},
        {"<msg><a type='double'>1e999</a></msg>", "XML, line 1: \"1e999\" is no value of the kind double"},
        {"<msg><a type='binary'>AP8</a></msg>", "XML, line 1: \"AP8\" is no value of the kind binary"},
        {"<msg><a type='binary'>AP9=</a></msg>", "XML, line 1: \"AP9=\" is no value of the kind binary"},
        {"<msg><a type='null'>x</a></msg>", "XML, line 1: \"x\" is no value of the kind null"},
    };
    for (const refusal_case_t& c : cases) {
        const std::string message = failure(c.text);
        EXPECT_EQ(message.substr(0, std::string_view(c.message).size()), c.message)
            << message << "\nfor " << c.text.substr(0, 80);
        EXPECT_LT(message.size(), 200u);
    }
}

TEST(variant_bag_xml, limits_of_the_parser_are_not_ours) {
    variant_bag_t bag;
    bag.put<variant_t>("long", std::string(20'000'000, 'x'));
    bag.put<variant_t>(std::string(200'000, 'n'), "long name");
    const variant_bag_t back = read(write(bag));
    EXPECT_TRUE(same_content(bag, back));
}

// The same names in one text and in many small ones: processor time, so that a busy machine does no harm.
TEST(variant_bag_xml, time_is_linear_in_names) {
    const char* const forms[][3] = {
        {"<msg>", "<n%d/>", "</msg>"},
        {"<msg", " n%d=''", "/>"},
    };
    for (const auto& [head, entry, tail] : forms) {
        const auto text = [&](int first, int count) {
            std::string names = head;
            char name[32];
            for (int i = first; i < first + count; ++i)
                names.append(name, static_cast<std::size_t>(std::snprintf(name, sizeof name, entry, i)));
            return names + tail;
        };
        const auto cost_of_reading = [](const std::string& names) {
            const std::clock_t start = std::clock();
            read(names);
            return std::clock() - start;
        };
        constexpr int parts = 12, part = 50'000;
        std::clock_t small = 0;
        for (int i = 0; i < parts; ++i)
            small += cost_of_reading(text(i * part, part));
        EXPECT_LT(cost_of_reading(text(0, parts * part)), 5 * small) << entry;
    }
}

TEST(variant_bag_xml, writing_does_not_recurse) {
    variant_bag_t bag;
    constexpr std::size_t depth = 1'000'000;
    add_chain(bag, depth).put<variant_t>("", "x");
    EXPECT_EQ(write(bag).size(),
              std::string("<msg></msg><_>x</_>").size() + depth * std::string("<a></a>").size());
}

} // namespace
