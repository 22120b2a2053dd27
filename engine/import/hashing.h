#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace panedeck::engine {

/// Which hash a table uses: the fast one, which has no proof that a file cannot be made to collide in it,
/// until its chains get longer than chance makes them; from then on SipHash under a random key, which has
/// one.
enum class HashStrength : bool { fast, keyed };

namespace hashing {

__extension__ using uint128 = unsigned __int128;

/// Differ from run to run. Nothing that an importer gives out depends on them.
extern const std::uint64_t secret_a;
extern const std::uint64_t secret_b;

/// SipHash-2-4 under a key that differs from run to run.
std::uint64_t keyedHash(const void* bytes, std::size_t size);

/// Both halves of the full product folded together: the usual fast mixer of 64-bit hashes. It is 0 whatever
/// `b` is if `a` is 0, so neither may be known from outside.
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

inline std::uint64_t fastHash(std::uint64_t a, std::uint64_t b) {
    return mix(mix(a ^ secret_a, b ^ secret_b), secret_b);
}

inline std::uint64_t fastHash(std::string_view text) {
    const char* bytes = text.data();
    std::size_t left = text.size();
    std::uint64_t hash = secret_a ^ (left * 0x9E3779B97F4A7C15ULL);
    for (; left > 16; bytes += 16, left -= 16)
        hash = mix(load<std::uint64_t>(bytes) ^ secret_b, load<std::uint64_t>(bytes + 8) ^ hash);
    std::uint64_t head = 0;
    std::uint64_t tail = 0;
    if (left >= 8) {
        head = load<std::uint64_t>(bytes);
        tail = load<std::uint64_t>(bytes + left - 8);
    } else if (left >= 4) {
        head = load<std::uint32_t>(bytes);
        tail = load<std::uint32_t>(bytes + left - 4);
    } else if (left > 0) {
        head = load<std::uint8_t>(bytes) << 16 | load<std::uint8_t>(bytes + left / 2) << 8 |
               load<std::uint8_t>(bytes + left - 1);
    }
    return mix(hash ^ secret_b, mix(head ^ secret_b, tail ^ hash));
}

} // namespace hashing

/// Hash of two words; all bits are good, the upper ones are what the tables use.
inline std::uint64_t hashWords(std::uint64_t a, std::uint64_t b, HashStrength strength) {
    if (strength == HashStrength::fast) return hashing::fastHash(a, b);
    const std::uint64_t words[] = {a, b};
    return hashing::keyedHash(words, sizeof(words));
}

/// Hash of a text.
inline std::uint64_t hashText(std::string_view text, HashStrength strength) {
    if (strength == HashStrength::fast) return hashing::fastHash(text);
    return hashing::keyedHash(text.data(), text.size());
}

} // namespace panedeck::engine
