#include "basekit/environment.h"

#include <cstdlib>

namespace bk2 {

std::string get_environ_value(const std::string& name) {
    const char* value = std::getenv(name.c_str());
    return value ? value : "";
}

} // namespace bk2
