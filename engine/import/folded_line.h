#pragma once

#include "import/sample_weight.h"

#include <string_view>

namespace panedeck::engine {

/// A line of folded stacks, taken apart.
struct FoldedLine {
    std::string_view stack; ///< without blanks at its ends and without the one `;` that may close it
    SampleWeight weight;
    std::string_view before_weight; ///< all that stands before the weight, without blanks at its end
};

/// Why a line with such a weight cannot be used; null if it can.
const char* complaintOf(WeightStatus status);

/// True for blank lines and comments.
bool isFoldedComment(std::string_view line);

/// Takes a line apart. Null if all is well, else why the line cannot be used.
const char* parseFoldedLine(std::string_view line, FoldedLine& parsed);

} // namespace panedeck::engine
