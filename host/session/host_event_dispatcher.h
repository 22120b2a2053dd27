#pragma once

#include "basekit/sptr.h"
#include "dispatch/ievent_dispatcher.h"
#include "scheduler/request_scheduler.h"
#include "transport/isocket_client.h"

namespace panedeck::host {

/// Sends the handlers' events to all panes. When a handler tells that a filter or a knob has changed, what
/// this makes obsolete is cancelled first: requests that panes make because of the event come later and are
/// safe.
class HostEventDispatcher : public IEventDispatcher {
public:
    /// `scheduler` outlives the dispatcher.
    HostEventDispatcher(RequestScheduler& scheduler, bk2::sptr_t<ISocketClient> client);

    bk2::error_code_t sendEvent(const char* name, const bk2::variant_bag_t* payload) override;

private:
    void cancelObsolete(const std::string& event, const bk2::variant_bag_t* payload);

    RequestScheduler& m_scheduler;
    bk2::sptr_t<ISocketClient> m_client;
};

} // namespace panedeck::host
