#include "basekit/random_name.h"

#include <random>

namespace bk2 {

std::string random_name(unsigned digits) {
    std::random_device device;
    std::string name;
    for (unsigned i = 0; i < digits; ++i)
        name += "0123456789abcdef"[device() % 16];
    return name;
}

} // namespace bk2
