#include "basekit/name_index.h"

#include <cstring>
#include <random>

namespace bk2 {

namespace {

__extension__ using wide_product_t = unsigned __int128;

std::uint64_t fold(std::uint64_t a, std::uint64_t b) {
    const wide_product_t product = static_cast<wide_product_t>(a) * b;
    return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
}

std::uint64_t make_seed() {
    std::random_device device;
    return (static_cast<std::uint64_t>(device()) << 32 | device()) | 1;
}

} // namespace

std::uint64_t name_index_t::hash(std::string_view name) {
    static const std::uint64_t seed = make_seed();
    static const std::uint64_t multiplier = make_seed();
    std::uint64_t state = seed ^ name.size();
    while (!name.empty()) {
        std::uint64_t word = 0;
        const std::size_t taken = name.size() < sizeof word ? name.size() : sizeof word;
        std::memcpy(&word, name.data(), taken);
        state = fold(state ^ word, multiplier);
        name.remove_prefix(taken);
    }
    return fold(state, seed);
}

} // namespace bk2
