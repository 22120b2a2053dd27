#include "basekit/random_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <sys/random.h>

namespace bk2 {

std::string random_hex_digits(unsigned bytes) {
    std::array<unsigned char, 128> block{};
    const std::size_t size = std::min<std::size_t>(bytes, block.size());
    // So few bytes come whole, unless a signal interrupts the wait for the system's first ones. A system
    // without the call has no secrets to give, and a guessable one is worse than none.
    while (::getrandom(block.data(), size, 0) != static_cast<ssize_t>(size)) {
        if (errno != EINTR) std::abort();
    }
    std::string digits;
    for (std::size_t index = 0; index < size; ++index)
        digits += fmt::format("{:02x}", block[index]);
    return digits;
}

} // namespace bk2
