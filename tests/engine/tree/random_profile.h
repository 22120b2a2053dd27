#pragma once

#include "support/profile_from_text.h"

#include <random>
#include <string>

namespace panedeck::tests {

/// A small profile with everything that is awkward: recursion, equal names in different modules, frames
/// without module or source, samples without frames or without weight, several processes and threads.
inline engine::ProfileData randomProfile(std::mt19937& random) {
    const auto below = [&random](unsigned limit) { return static_cast<unsigned>(random() % limit); };
    const unsigned samples = 1 + below(30), functions = 1 + below(6), depth = 1 + below(7);
    const bool has_threads = below(3) != 0;
    std::string text;
    for (unsigned i = 0; i < samples; ++i) {
        if (has_threads) {
            const unsigned process = below(2), thread = below(3);
            text += "[" + std::to_string(process + 1) + "/" + std::to_string(10 * process + thread + 1) +
                    " p" + std::to_string(process) + "t" + std::to_string(thread) + "] ";
        }
        std::string stack;
        for (unsigned frame = below(depth + 1); frame > 0; --frame) {
            const unsigned function = below(functions);
            stack += (stack.empty() ? "f" : ";f") + std::to_string(function % 4);
            if (function >= 2) stack += "|m" + std::to_string(function % 3);
            if (function >= 4) stack += "|s.c";
        }
        text += stack + (stack.empty() ? "" : " ") + std::to_string(below(5)) + "," +
                std::to_string(below(100)) + "\n";
    }
    return profileFromText(text);
}

} // namespace panedeck::tests
