#include "basekit/large_pages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <numeric>

namespace panedeck::tests {
namespace {

TEST(LargePages, ArraysOfAnySizeHoldTheirEntries) {
    for (const std::size_t count : {1u, 1000u, 300'000u, 600'001u}) {
        bk2::array_t<std::uint64_t> numbers(count);
        std::iota(numbers.begin(), numbers.end(), count);
        bk2::array_t<std::uint64_t> copy = numbers;
        numbers.push_back(0);
        EXPECT_EQ(copy.back(), 2 * count - 1);
        EXPECT_TRUE(std::equal(copy.begin(), copy.end(), numbers.begin()));
    }
}

TEST(LargePages, KeepAnAlignment) {
    for (const std::size_t alignment : {16u, 4096u, 65536u})
        for (const std::size_t bytes : {std::size_t{1}, alignment, std::size_t{5} << 20}) {
            void* memory = bk2::allocate_array(bytes, alignment);
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(memory) % alignment, 0u) << bytes;
            static_cast<char*>(memory)[bytes - 1] = 1;
            bk2::free_array(memory);
        }
}

TEST(LargePages, MoreBytesThanANumberCountsAreRefused) {
    bk2::array_allocator_t<std::uint64_t> allocator;
    EXPECT_THROW(allocator.allocate(std::numeric_limits<std::size_t>::max() / 4), std::bad_alloc);
}

} // namespace
} // namespace panedeck::tests
