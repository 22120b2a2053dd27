#include "store/checksum.h"

namespace panedeck::engine {

Checksum::Checksum() {
    XXH3_64bits_reset(&m_state);
}

void Checksum::addPart(char kind, const void* bytes, std::size_t size) {
    const std::uint64_t head = std::uint64_t{size} << 8 | static_cast<unsigned char>(kind);
    XXH3_64bits_update(&m_state, &head, sizeof(head));
    XXH3_64bits_update(&m_state, bytes, size);
}

void Checksum::add(std::int64_t number) {
    addPart('n', &number, sizeof(number));
}

void Checksum::add(std::string_view text) {
    addPart('t', text.data(), text.size());
}

void Checksum::add(std::span<const std::byte> bytes) {
    addPart('b', bytes.data(), bytes.size());
}

std::int64_t Checksum::value() const {
    return static_cast<std::int64_t>(XXH3_64bits_digest(&m_state));
}

} // namespace panedeck::engine
