#include "basekit/free_memory.h"

#include <cstdlib>
#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace bk2 {

void release_free_memory() noexcept {
#ifdef __GLIBC__
    ::malloc_trim(0);
#endif
}

} // namespace bk2
