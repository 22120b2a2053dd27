#pragma once

#include <string_view>

namespace panedeck::engine {

/// A file of another tool that begins like this, in one sentence: what it is, and what to do to look at it
/// here. Empty if it is not known. `beginning` is unpacked but may be binary.
std::string_view describeForeignFormat(std::string_view beginning);

} // namespace panedeck::engine
