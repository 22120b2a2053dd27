#pragma once

#include <string_view>
#include <vector>

namespace panedeck::engine {

/// The keys of the outermost object of JSON text that may be cut off, or of the first object in an outermost
/// array, as they stand there. None if the text is no JSON of that kind; broken JSON gives some of its keys.
std::vector<std::string_view> outermostJsonKeys(std::string_view text);

} // namespace panedeck::engine
