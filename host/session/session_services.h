#pragma once

#include "dispatch/irequest_handler_group.h"
#include "session/open_results.h"

namespace panedeck::host {

/// The catalog of the product's own texts.
inline constexpr char messageCatalogName[] = "panedeck1";

/// Adds the handlers that serve the panes beside the result's data: their properties, texts, help, usage
/// statistics and features.
void addSessionServices(IRequestHandlerGroup& handlers, const open_results_t& results);

} // namespace panedeck::host
