#pragma once

#include <cstdint>
#include <cstring>
#include <string_view>

namespace panedeck::engine {

/// Differs from run to run, so that no file can be made to collide in the tables. Nothing that an importer
/// gives out depends on it.
extern const std::uint64_t hash_seed;

namespace hashing {

__extension__ using uint128 = unsigned __int128;

inline constexpr std::uint64_t odd_a = 0x9E3779B97F4A7C15ULL;
inline constexpr std::uint64_t odd_b = 0xD6E8FEB86659FD93ULL;

/// Both halves of the full product folded together: the usual fast mixer of 64-bit hashes.
inline std::uint64_t mix(std::uint64_t a, std::uint64_t b) {
    const uint128 product = static_cast<uint128>(a) * b;
    return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
}

template <class Word>
std::uint64_t load(const char* bytes) {
    Word word;
    std::memcpy(&word, bytes, sizeof(word));
    return word;
}

} // namespace hashing

/// Hash of two words; all bits are good, the upper ones are what the tables use.
inline std::uint64_t hashWords(std::uint64_t a, std::uint64_t b) {
    return hashing::mix(hashing::mix(a ^ hash_seed, hashing::odd_a ^ b), hashing::odd_b ^ hash_seed);
}

/// Hash of a text.
inline std::uint64_t hashText(std::string_view text) {
    const char* bytes = text.data();
    std::size_t left = text.size();
    std::uint64_t hash = hash_seed ^ (left * hashing::odd_b);
    for (; left > 16; bytes += 16, left -= 16)
        hash = hashing::mix(hashing::load<std::uint64_t>(bytes) ^ hashing::odd_a,
                            hashing::load<std::uint64_t>(bytes + 8) ^ hash);
    std::uint64_t head = 0;
    std::uint64_t tail = 0;
    if (left >= 8) {
        head = hashing::load<std::uint64_t>(bytes);
        tail = hashing::load<std::uint64_t>(bytes + left - 8);
    } else if (left >= 4) {
        head = hashing::load<std::uint32_t>(bytes);
        tail = hashing::load<std::uint32_t>(bytes + left - 4);
    } else if (left > 0) {
        head = hashing::load<std::uint8_t>(bytes) << 16 | hashing::load<std::uint8_t>(bytes + left / 2) << 8 |
               hashing::load<std::uint8_t>(bytes + left - 1);
    }
    return hashing::mix(hash ^ hashing::odd_b, hashing::mix(head ^ hashing::odd_a, tail ^ hash));
}

} // namespace panedeck::engine
