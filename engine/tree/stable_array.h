#pragma once

#include "basekit/large_pages.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <type_traits>
#include <vector>

namespace panedeck::engine {

/// An array that grows at its end and never moves an entry, so that others read entries while one thread
/// appends. Entries are plain memory: not initialised, not destroyed. Whoever publishes an index must do so
/// with release order.
///
/// Segments double from 64 entries up to 256 Ki, then stay so: a small array is small, a large one wastes
/// little and lies on large pages.
template <class T>
class StableArray {
public:
    static_assert(std::is_trivially_destructible_v<T>);
    static constexpr std::size_t npos = static_cast<std::size_t>(-1);

    /// `width` entries form one record that is not cut; indexes below count records.
    explicit StableArray(std::size_t width = 1) : m_width(width), m_segments(new Block[most_segments]()) {}

    T* operator[](std::uint32_t index) const {
        const Place place = placeOf(index);
        return m_segments[place.segment].get() + place.offset * m_width;
    }

    std::uint32_t size() const { return m_size; }

    /// Makes room for `count` records behind the last one; gives the index of the first. Throws
    /// std::bad_alloc.
    std::uint32_t append(std::uint32_t count) {
        const std::uint32_t first = m_size;
        if (count == 0) return first;
        for (std::size_t segment = placeOf(first).segment; segment <= placeOf(first + count - 1).segment;
             ++segment)
            if (!m_segments[segment]) m_segments[segment].reset(allocate(segmentSize(segment) * m_width));
        m_size += count;
        return first;
    }

private:
    static constexpr std::uint32_t smallest = 64;
    static constexpr std::uint32_t largest = 256 * 1024;
    static constexpr std::size_t growing_segments = 13; // [0, 64), [64, 128), [128, 256) … [128 Ki, 256 Ki)
    static constexpr std::size_t most_segments = growing_segments + (std::size_t{1} << 28) / largest;

    struct Place {
        std::size_t segment;
        std::size_t offset;
    };
    using Block = std::unique_ptr<T, bk2::free_array_t>;

    static Place placeOf(std::uint32_t index) {
        if (index < smallest) return {0, index};
        if (index >= largest) return {growing_segments + index / largest - 1, index % largest};
        const std::uint32_t top = std::bit_floor(index);
        return {static_cast<std::size_t>(std::countr_zero(top) - std::countr_zero(smallest) + 1),
                index - top};
    }
    static std::size_t segmentSize(std::size_t segment) {
        if (segment == 0) return smallest;
        return segment < growing_segments ? std::size_t{smallest} << (segment - 1) : largest;
    }
    static T* allocate(std::size_t entries) {
        return static_cast<T*>(bk2::allocate_array(entries * sizeof(T)));
    }

    std::size_t m_width;
    std::uint32_t m_size = 0;
    std::unique_ptr<Block[]> m_segments;
};

} // namespace panedeck::engine
