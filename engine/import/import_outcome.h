#pragma once

#include <cstdint>
#include <string>
#include <utility>

namespace panedeck::engine {

/// How an import ended, before the file's name is put to it.
struct ImportOutcome {
    enum class Kind { done, canceled, refused };

    Kind kind = Kind::done;
    std::uint64_t line = 1; ///< where the reason showed, counted from 1; 0 if it concerns no line
    std::string reason;     ///< why it was refused

    static ImportOutcome done() { return {}; }
    static ImportOutcome canceled() { return {Kind::canceled, 1, {}}; }
    static ImportOutcome refused(std::uint64_t line, std::string reason) {
        return {Kind::refused, line, std::move(reason)};
    }

    bool is_done() const { return kind == Kind::done; }
};

} // namespace panedeck::engine
