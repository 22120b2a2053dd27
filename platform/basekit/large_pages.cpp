#include "basekit/large_pages.h"

#include <cstdlib>
#include <sys/mman.h>

namespace bk2 {

namespace {

constexpr std::size_t large_page = std::size_t{2} << 20;

} // namespace

void* allocate_array(std::size_t bytes, std::size_t alignment) {
    const bool is_large = bytes >= large_page;
    void* memory = nullptr;
    if (::posix_memalign(&memory, is_large ? large_page : alignment, bytes) != 0) throw std::bad_alloc();
    // Whole pages only: a large page for the rest could take 2 MiB for a few bytes. A system that has none
    // says no, and the memory is as good as any other.
    if (is_large) ::madvise(memory, bytes / large_page * large_page, MADV_HUGEPAGE);
    return memory;
}

void free_array(void* memory) noexcept {
    std::free(memory);
}

} // namespace bk2
