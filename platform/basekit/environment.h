#pragma once

#include "basekit/api.h"

#include <string>

namespace bk2 {

/// The value of an environment variable, empty if it is not set.
PANEDECK_API std::string get_environ_value(const std::string& name);

} // namespace bk2
