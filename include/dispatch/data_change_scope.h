#pragma once

#include "basekit/api.h"
#include "dispatch/ievent_dispatcher.h"

namespace panedeck {

/// Announces a change of the result's data to all panes for as long as it lives:
///
///     DataChangeScope change(dispatcher, true);   // "BeforeDataChangeEvent",
///     "WaitForOtherPanesStopDataRequests" if (const auto error = work(); error.failed())
///         return error;                           // "CancelDataChangeEvent"
///     change.commit();                            // "DataChangedEvent"
///
/// Results of the sends are ignored: panes that cannot be reached will ask anew when they are back.
class PANEDECK_API DataChangeScope {
public:
    /// Announces the change if `active` is set; without it no event is ever sent. `eventDispatcher` outlives
    /// the scope and may be null only if `active` is not set.
    DataChangeScope(IEventDispatcher* eventDispatcher, bool active);

    /// Takes the announcement back unless the change was committed.
    ~DataChangeScope();

    DataChangeScope(const DataChangeScope&) = delete;
    DataChangeScope& operator=(const DataChangeScope&) = delete;

    /// The data has changed. A second call does nothing.
    void commit();

private:
    void send(const char* name);

    IEventDispatcher* m_eventDispatcher;
    bool m_active;
};

} // namespace panedeck
