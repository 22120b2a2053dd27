#include "import/hashing.h"

#include <array>
#include <random>
#include <sodium/crypto_shorthash.h>

namespace panedeck::engine::hashing {

namespace {

std::uint64_t randomWord() {
    std::random_device device;
    return std::uint64_t{device()} << 32 | device();
}

using Key = std::array<unsigned char, crypto_shorthash_KEYBYTES>;

Key randomKey() {
    const std::uint64_t words[] = {randomWord(), randomWord()};
    Key key;
    static_assert(sizeof(words) == sizeof(key));
    std::memcpy(key.data(), words, sizeof(words));
    return key;
}

} // namespace

// Odd, so that neither is 0, at the cost of one bit.
const std::uint64_t secret_a = randomWord() | 1;
const std::uint64_t secret_b = randomWord() | 1;

std::uint64_t keyedHash(const void* bytes, std::size_t size) {
    static const Key key = randomKey();
    unsigned char hash[crypto_shorthash_BYTES];
    crypto_shorthash(hash, static_cast<const unsigned char*>(bytes), size, key.data());
    std::uint64_t word;
    static_assert(sizeof(hash) == sizeof(word));
    std::memcpy(&word, hash, sizeof(word));
    return word;
}

} // namespace panedeck::engine::hashing
