#pragma once

#include "basekit/api.h"
#include "basekit/error_code.h"
#include "basekit/variant_bag.h"

namespace panedeck {

/// What handlers send events to the panes with. Implemented by the host.
///
/// Handlers may hold the data lock or a model's lock while they send: an implementation only queues and never
/// waits for a request. Safe from any thread.
class PANEDECK_API IEventDispatcher {
public:
    /// Sends the event `name` to all panes. `payload` may be null; it is copied.
    virtual bk2::error_code_t sendEvent(const char* name, const bk2::variant_bag_t* payload) = 0;

    virtual ~IEventDispatcher();
};

} // namespace panedeck
