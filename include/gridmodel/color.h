#pragma once

#include "basekit/variant.h"

#include <cstdint>

namespace panedeck {

/// A colour by its bytes.
struct color_t {
    std::uint8_t red;
    std::uint8_t green;
    std::uint8_t blue;
    std::uint8_t alpha;
};

/// A colour as one number, the first byte the highest: 0xd47334ff.
inline bk2::variant_t packColor(const color_t& color) {
    return bk2::variant_t(bk2::u32_t(color.red) << 24 | bk2::u32_t(color.green) << 16 |
                          bk2::u32_t(color.blue) << 8 | bk2::u32_t(color.alpha));
}

} // namespace panedeck
