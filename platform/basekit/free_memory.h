#pragma once

#include "basekit/api.h"

namespace bk2 {

/// Gives memory that lies free between what is in use back to the system. The C library keeps what was freed
/// in small pieces for later; after a hundred megabytes of them the process would stay that large. Takes
/// milliseconds, so it is called where very much was freed at once.
PANEDECK_API void release_free_memory() noexcept;

} // namespace bk2
