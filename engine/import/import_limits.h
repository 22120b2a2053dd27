#pragma once

#include <cstddef>
#include <cstdint>

namespace panedeck::engine {

/// What an importer accepts at most, so that no input makes it take memory without bound. `docs/formats.md`
/// publishes the defaults; other values are for tests.
struct ImportLimits {
    /// Bytes of one line (UTF-8, without its end), and of one JSON value. A longer line is skipped and
    /// counted.
    std::size_t line_bytes = std::size_t{64} << 20;
    /// Bytes of one name: function, module, source file, command.
    std::size_t name_bytes = std::size_t{1} << 20;
    /// Frames of one stack.
    std::size_t stack_frames = std::size_t{1} << 20;
    /// Nesting of JSON. The older V8 form nests two levels per frame, so a stack of the allowed depth fits.
    std::size_t json_depth = 2'200'000;
    /// Bytes of the whole text, after unpacking.
    std::uint64_t unpacked_bytes = std::uint64_t{16} << 30;
    /// Nodes of the stack tree (distinct stacks and their prefixes), and functions.
    std::size_t stack_nodes = std::size_t{1} << 28;
    /// Bytes of all distinct names together.
    std::uint64_t text_bytes = std::uint64_t{4} << 30;
    /// Metrics (events) of one profile.
    std::size_t metrics = 64;
    /// Sample records times metrics.
    std::uint64_t sample_cells = std::uint64_t{1} << 30;
};

/// How much of the text is looked at to tell its format.
inline constexpr std::size_t detection_bytes = std::size_t{256} << 10;

} // namespace panedeck::engine
