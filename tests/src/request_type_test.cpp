#include "dispatch/request_type.h"

#include <gtest/gtest.h>

namespace panedeck {
namespace {

TEST(RequestType, OnlyTheFirstColonSplits) {
    const struct {
        const char* type;
        const char* domain;
        const char* operation;
    } cases[] = {
        {"grid", "grid", ""}, {"grid:", "grid", ""}, {"viewpoint:config:x", "viewpoint", "config:x"},
        {":get", "", "get"},  {"", "", ""},          {"result-info:get", "result-info", "get"},
        {"a::b", "a", ":b"},
    };
    for (const auto& expected : cases) {
        const auto parts = splitRequestType(expected.type);
        EXPECT_EQ(parts.domain, expected.domain) << expected.type;
        EXPECT_EQ(parts.operation, expected.operation) << expected.type;
    }
}

} // namespace
} // namespace panedeck
