#include "import/hashing.h"

#include <random>

namespace panedeck::engine {

namespace {

std::uint64_t randomSeed() {
    std::random_device device;
    return std::uint64_t{device()} << 32 | device();
}

} // namespace

const std::uint64_t hash_seed = randomSeed();

} // namespace panedeck::engine
