#pragma once

#include "basekit/api.h"

#include <cstddef>
#include <limits>
#include <memory>
#include <new>
#include <vector>

// For arrays that grow with the number of rows: the grid model and data providers.
namespace bk2 {

/// Memory for an array; free it with `free_array`. `alignment` is a power of two of at most 2 MiB. From 2 MiB
/// on it lies on large pages where the system has some: who walks a million rows in any order then rarely
/// waits for an address to be translated. Throws std::bad_alloc.
PANEDECK_API void* allocate_array(std::size_t bytes, std::size_t alignment = alignof(std::max_align_t));
PANEDECK_API void free_array(void* memory) noexcept;

/// For `std::unique_ptr` to such memory. Destroys nothing that stands in it.
struct free_array_t {
    void operator()(void* memory) const noexcept { free_array(memory); }
};

/// A standard allocator of such memory.
template <class T>
class array_allocator_t {
public:
    using value_type = T;

    array_allocator_t() = default;
    template <class Other>
    array_allocator_t(const array_allocator_t<Other>&) {}

    T* allocate(std::size_t count) {
        if (count > std::numeric_limits<std::size_t>::max() / sizeof(T)) throw std::bad_array_new_length();
        return static_cast<T*>(allocate_array(count * sizeof(T)));
    }
    void deallocate(T* memory, std::size_t) noexcept { free_array(memory); }

    bool operator==(const array_allocator_t&) const { return true; }
};

/// A vector that may have a million entries.
template <class T>
using array_t = std::vector<T, array_allocator_t<T>>;

} // namespace bk2
