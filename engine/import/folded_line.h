#pragma once

#include "import/sample_weight.h"

#include <string_view>

namespace panedeck::engine {

/// A line of folded stacks, taken apart.
struct FoldedLine {
    std::string_view stack; ///< without blanks at its ends and without the one `;` that may close it
    SampleWeight weight;
};

/// True for blank lines and comments.
bool isFoldedComment(std::string_view line);

/// Takes a line apart. Null if all is well, else why the line cannot be used.
const char* parseFoldedLine(std::string_view line, FoldedLine& parsed);

} // namespace panedeck::engine
