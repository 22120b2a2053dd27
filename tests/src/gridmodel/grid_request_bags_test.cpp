#include "gridmodel/grid_bags.h"
#include "support/bag_from_xml.h"

#include <gtest/gtest.h>

namespace panedeck::tests {
namespace {

std::string shown(const GridViewParams& params) {
    const bool hasRowId = params.rowId != GridViewParams().rowId;
    return std::to_string(params.startRow) + " " + std::to_string(params.rowCount) + " " +
           (hasRowId ? std::to_string(params.rowId) : "-") + " " + params.grouping;
}

TEST(GridRequest, ReadsTheWindow) {
    const std::pair<const char*, const char*> cases[] = {
        {"", "-1 0 - "},
        {R"(<row><_ type="s32_t">5</_></row><count><_ type="u8_t">7</_></count>)", "5 7 - "},
        {R"(<row><_ type="s64_t">4294967296</_></row><count><_>7</_></count>)", "-1 0 - "},
        {R"(<row><_ type="bool">true</_></row><count><_ type="double">7</_></count>)", "-1 0 - "},
        {R"(<rowId><_>18446744073709551614</_></rowId>)", "-1 0 18446744073709551614 "},
        {R"(<rowId><_>18446744073709551616</_></rowId>)", "-1 0 - "},
        {R"(<rowId><_ type="s64_t">-1</_></rowId><grouping><_ type="s32_t">1</_></grouping>)", "-1 0 - "},
        // Twice the same parameter, with nothing at first and with something else.
        {R"(<row type="bag"/><row><_ type="s32_t">3</_></row>)", "3 0 - "},
        {R"(<grouping><_>/A</_></grouping><grouping><_>/B</_></grouping>)", "-1 0 - /B"},
    };
    for (const auto& [xml, expected] : cases) {
        const auto bag = bagFromXml(xml);
        EXPECT_EQ(shown(createGridViewParamsFromSectionBag(bag)), expected) << xml;
    }
}

} // namespace
} // namespace panedeck::tests
