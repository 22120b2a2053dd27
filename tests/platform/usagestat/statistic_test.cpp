#include "settingshub/property_storage.h"
#include "support/temporary_folder.h"
#include "usagestat/statistic.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace usagestat1 {
namespace {

TEST(Statistic, KeepsNothingWithoutConsentAndAThousandNamesWithIt) {
    const panedeck::tests::TemporaryFolder folder;
    const auto storage = settingshub2::IPropertyStorage::open(folder.path(), "usage");
    statistic_t statistic(storage);
    EXPECT_TRUE(statistic.count_use("early").succeeded());
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));

    bk2::variant_bag_t counts;
    for (int i = 0; i < 999; ++i)
        counts.put("feature" + std::to_string(i), bk2::variant_t(bk2::u64_t{1}));
    ASSERT_TRUE(storage->writeBag("counts", counts).succeeded());
    ASSERT_TRUE(statistic.set_consent(true).succeeded());
    for (const char* name : {"last", "one too many", "last"})
        EXPECT_TRUE(statistic.count_use(name).succeeded());
    counts = storage->readBag("counts", {});
    EXPECT_EQ(counts.get_variant("last"), bk2::variant_t(2));
    EXPECT_EQ(counts.count<bk2::variant_t>(nullptr), 1001u);
}

} // namespace
} // namespace usagestat1
