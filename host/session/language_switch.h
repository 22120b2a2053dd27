#pragma once

#include "basekit/task_system.h"
#include "dispatch/ievent_dispatcher.h"

#include <string>

namespace panedeck::host {

/// Changes the language of all texts when a page asks for it.
class LanguageSwitch {
public:
    /// Both outlive the switch.
    LanguageSwitch(bk2::task_system_t& tasks, IEventDispatcher& events) : m_tasks(tasks), m_events(events) {}

    /// Switches to an installed language, keeps the choice for the user, and tells all panes by
    /// "LanguageChangedEvent" (text value `language`) to ask for their texts again. Any other language is
    /// logged and changes nothing. Only queues the work: wishes are carried out one at a time, in their
    /// order.
    void switchTo(const std::string& language);

private:
    void carryOut(const std::string& language);

    bk2::task_system_t& m_tasks;
    IEventDispatcher& m_events;
};

} // namespace panedeck::host
