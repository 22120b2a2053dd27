#pragma once

#include "basekit/variant_bag_xml.h"

#include <gtest/gtest.h>

#include <string>

namespace panedeck::tests {

/// The bag that `content` is the inside of: "<columns><column><_>/Metrics</_></column></columns>". Text that
/// cannot be read fails the test.
inline bk2::variant_bag_t bagFromXml(const std::string& content) {
    bk2::variant_bag_t bag;
    const auto error = bk2::load_variant_bag_from_string2(bag, "<bag>" + content + "</bag>", "bag");
    EXPECT_TRUE(error.succeeded()) << error.as_string(1) << " in " << content;
    return bag;
}

} // namespace panedeck::tests
