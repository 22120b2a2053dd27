#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

// The state as a member, not behind a pointer.
#define XXH_STATIC_LINKING_ONLY
#include <xxhash.h>

namespace panedeck::engine {

/// Checksum of what is stored, 64 bits of XXH3: finds damage, not ill will. What is added is told apart: two
/// texts give another sum than both as one, and a number another than its digits.
class Checksum {
public:
    Checksum();

    void add(std::int64_t number);
    void add(std::string_view text);
    void add(std::span<const std::byte> bytes);

    /// The sum as SQLite and XML store it.
    std::int64_t value() const;

private:
    void addPart(char kind, const void* bytes, std::size_t size);

    XXH3_state_t m_state;
};

} // namespace panedeck::engine
