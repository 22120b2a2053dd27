#include "engine/import/import_fixture.h"
#include "import/hash_index.h"

#include <ctime>
#include <functional>

namespace panedeck::engine::tests {
namespace {

// Records that all collide under the fast hash, by their whole hash or only by the slot that they belong
// into.
TEST(HashIndex, bounds_its_chains) {
    constexpr std::uint32_t records = 20'000;
    for (const unsigned bits_that_differ : {0u, 16u}) {
        HashIndex table;
        std::uint64_t looked_at = 0;
        const auto hash_of = [&](std::uint32_t index, HashStrength strength) -> std::uint64_t {
            if (strength == HashStrength::keyed) return std::uint64_t{index} * 0x9E3779B97F4A7C15ULL;
            return bits_that_differ ? std::uint64_t{index} << 32 : 0;
        };
        const auto find = [&](std::uint32_t index) {
            return table.find(hash_of(index, table.strength()), [&](std::uint32_t other) {
                ++looked_at;
                return other == index;
            });
        };
        for (std::uint32_t index = 0; index < records; ++index) {
            ASSERT_EQ(find(index), HashIndex::none);
            table.insert(index, hash_of);
        }
        for (std::uint32_t index = 0; index < records; ++index)
            ASSERT_EQ(find(index), index);
        EXPECT_EQ(table.strength(), HashStrength::keyed);
        EXPECT_LT(looked_at, 2 * records);
    }
}

double secondsFor(const std::string& beginning) {
    std::string text;
    for (int i = 0; i < 20'000; ++i)
        text += beginning + std::to_string(10'000'000 + i) +
                " and so long a rest that the text is not taken for binary data 1\n";
    const std::clock_t start = std::clock();
    EXPECT_EQ(importText(text).profile.names.size(), 20'001u);
    return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

// Eight bytes that would make a product of a hash with a known factor 0, whatever its seed is.
TEST(HashIndex, cannot_be_filled_with_names_of_one_hash) {
    const double usual = secondsFor("\xFE\x7C\x4A\x7F\xB9\x79\x37\x9E");
    EXPECT_LT(secondsFor("\x15\x7C\x4A\x7F\xB9\x79\x37\x9E"), 5 * usual + 0.1);
}

} // namespace
} // namespace panedeck::engine::tests
