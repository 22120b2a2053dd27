#pragma once

#include <string_view>

namespace panedeck::host {

/// True if requests of this type change what other requests read: a filter, a knob, the viewpoint, stored
/// settings. Such requests run one at a time, in the order in which they came.
bool isChangingRequest(std::string_view requestType);

} // namespace panedeck::host
