#include "basekit/ref_counted.h"
#include "basekit/variant.h"
#include "support/log_capture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <thread>

using namespace bk2;
using panedeck::tests::LogCapture;

namespace {

struct widening_case_t {
    variant_t value;
    bool fits_32, fits_64, fits_double, is_text;
};

TEST(variant, reads_widen_by_tag_and_nothing_else) {
    const widening_case_t cases[] = {
        {variant_t(true), true, true, true, false},
        {variant_t(s8_t(-1)), true, true, true, false},
        {variant_t(u8_t(1)), true, true, true, false},
        {variant_t(s16_t(-1)), true, true, true, false},
        {variant_t(u16_t(1)), true, true, true, false},
        {variant_t(s32_t(-1)), true, true, true, false},
        {variant_t(u32_t(1)), true, true, true, false},
        {variant_t(s64_t(-1)), false, true, true, false},
        {variant_t(u64_t(1)), false, true, true, false},
        {variant_t(1.5f), false, false, true, false},
        {variant_t(1.5), false, false, true, false},
        {variant_t("t"), false, false, false, true},
        {variant_t(L"t"), false, false, false, false},
        {variant_t::borrow("t"), false, false, false, true},
        {variant_t::borrow(L"t"), false, false, false, false},
        {variant_t::binary("t", 1), false, false, false, false},
        {variant_t(), false, false, false, false},
    };
    for (const widening_case_t& c : cases) {
        SCOPED_TRACE(c.value.tag());
        EXPECT_EQ(c.value.can_get<s32_t>(), c.fits_32);
        EXPECT_EQ(c.value.can_get<u32_t>(), c.fits_32);
        EXPECT_EQ(c.value.can_get<s64_t>(), c.fits_64);
        EXPECT_EQ(c.value.can_get<u64_t>(), c.fits_64);
        EXPECT_EQ(c.value.can_get<bool>(), c.fits_64);
        EXPECT_EQ(c.value.can_get<double>(), c.fits_double);
        EXPECT_EQ(c.value.can_get<const char*>(), c.is_text);
    }
}

TEST(variant, widened_values_keep_sign_and_size) {
    EXPECT_EQ(variant_t(s8_t(-5)).get<s64_t>(), -5);
    EXPECT_EQ(variant_t(u8_t(250)).get<s32_t>(), 250);
    EXPECT_EQ(variant_t(std::numeric_limits<s64_t>::min()).get<double>(), -0x1p63);
    EXPECT_EQ(variant_t(std::numeric_limits<u64_t>::max()).get<double>(), 0x1p64);
    EXPECT_EQ(variant_t(0.5f).get<double>(), 0.5);
    EXPECT_STREQ(variant_t("text").get<const char*>(), "text");
    EXPECT_TRUE(variant_t(u64_t(1) << 40).get<bool>());
}

TEST(variant, a_refused_read_is_logged_and_gives_zero) {
    LogCapture log;
    EXPECT_EQ(variant_t("7").get<s32_t>(), 0);
    EXPECT_EQ(variant_t(s64_t(7)).get<s32_t>(), 0);
    EXPECT_EQ(variant_t(2.5).get<u64_t>(), 0u);
    EXPECT_EQ(variant_t("7").get<double>(), 0);
    EXPECT_STREQ(variant_t(L"wide").get<const char*>(), "");
    EXPECT_EQ(log.count("can_get<T>()"), 5);
}

TEST(variant, true_is_a_boolean_and_a_literal_is_a_text) {
    const variant_t flag = true, text = "text";
    EXPECT_EQ(flag.tag(), vt_bool);
    EXPECT_EQ(text.tag(), vt_text);
    EXPECT_FALSE((std::is_convertible_v<int*, variant_t>));
}

TEST(variant, copies_share_text_and_a_borrowed_one_is_not_copied) {
    const variant_t text("long enough to be somewhere");
    const variant_t copy = text;
    EXPECT_EQ(copy.text().data(), text.text().data());
    const char characters[] = "borrowed";
    EXPECT_EQ(variant_t::borrow(characters).get<const char*>(), characters);
}

TEST(variant, set_data_takes_bytes_of_the_dynamic_types_only) {
    variant_t value(s32_t(1));
    value.set_data(vt_text, "a\0b", 3);
    EXPECT_EQ(value.text(), std::string_view("a\0b", 3));
    value.set_data(vt_binary, value.text().data() + 2, 1); // of its own bytes
    EXPECT_EQ(value.bytes(), "b");
    LogCapture log;
    value.set_data(vt_s32, "", 0);
    EXPECT_EQ(log.count("tag == vt_text"), 1);
    EXPECT_EQ(value.bytes(), "b");
    value.free_data();
    EXPECT_TRUE(value.is_null());
}

class counted_object_t : public ref_counted_t<counted_object_t, mt_ref_count_impl_t, object_interface_t> {
public:
    explicit counted_object_t(int& alive) : m_alive(alive) { ++m_alive; }
    ~counted_object_t() override { --m_alive; }

private:
    int& m_alive;
};

TEST(variant, an_object_lives_as_long_as_its_last_variant) {
    int alive = 0;
    {
        variant_t first{sptr_t<object_interface_t>(new counted_object_t(alive))};
        variant_t second = first;
        first.free_data();
        EXPECT_EQ(alive, 1);
        EXPECT_TRUE(second.object());
    }
    EXPECT_EQ(alive, 0);
}

TEST(variant, copies_may_be_made_and_dropped_by_several_threads) {
    const variant_t text("shared among threads");
    const auto copy_often = [&text] {
        for (int i = 0; i < 20000; ++i) {
            const variant_t copy = text;
            ASSERT_EQ(copy.text().size(), 20u);
        }
    };
    std::thread first(copy_often), second(copy_often);
    first.join();
    second.join();
}

TEST(variant, equality_is_by_value_across_kinds) {
    EXPECT_EQ(variant_t(s8_t(5)), variant_t(5.0));
    EXPECT_EQ(variant_t(true), variant_t(u64_t(1)));
    EXPECT_EQ(variant_t("\xC3\xA9"), variant_t(L"\u00E9"));
    EXPECT_EQ(variant_t("a"), variant_t::borrow("a"));
    EXPECT_FALSE(variant_t(s64_t(-1)) == variant_t(std::numeric_limits<u64_t>::max()));
    EXPECT_FALSE(variant_t((s64_t(1) << 53) + 1) == variant_t(0x1p53));
    EXPECT_FALSE(variant_t("1") == variant_t(1));
    EXPECT_FALSE(variant_t() == variant_t(""));
}

TEST(variant, order_goes_null_numbers_texts_rest) {
    const variant_t ordered[] = {variant_t(),
                                 variant_t(std::numeric_limits<s64_t>::min()),
                                 variant_t(-0.5),
                                 variant_t(false),
                                 variant_t(0.25),
                                 variant_t(u8_t(1)),
                                 variant_t(0x1p53),
                                 variant_t((s64_t(1) << 53) + 1),
                                 variant_t(std::numeric_limits<u64_t>::max()),
                                 variant_t(""),
                                 variant_t("B"),
                                 variant_t(L"a"),
                                 variant_t("a\x01"),
                                 variant_t(L"\uFFFD"),
                                 variant_t("\xF0\x9F\x98\x80"),
                                 variant_t::binary("", 0),
                                 variant_t::binary("b", 1)};
    for (const variant_t& left : ordered)
        for (const variant_t& right : ordered) {
            EXPECT_EQ(left < right, &left < &right)
                << get_value_string(left) << " and " << get_value_string(right);
            EXPECT_EQ(left == right, &left == &right);
        }
}

TEST(variant, any_value_as_text) {
    const std::pair<variant_t, const char*> cases[] = {
        {true, "true"},
        {s8_t(-128), "-128"},
        {std::numeric_limits<u64_t>::max(), "18446744073709551615"},
        {0.1, "0.1"},
        {0.1f, "0.1"},
        {1e300, "1e+300"},
        {"text", "text"},
        {variant_t(L"\u20AC"), "\xE2\x82\xAC"},
        {variant_t::binary("\xFF\x00x", 3), "/wB4"},
        {variant_t::binary("ab", 2), "YWI="},
        {variant_t(), ""},
    };
    for (const auto& [value, text] : cases)
        EXPECT_EQ(get_value_string(value), text);
}

} // namespace
