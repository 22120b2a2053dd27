#pragma once

#include "basekit/error_code.h"
#include "basekit/sptr.h"
#include "basekit/task_system.h"
#include "dispatch/irequest_dispatcher.h"
#include "dispatch/irequest_handler_group.h"
#include "filter/ifilter_mgr.h"
#include "program/server_address.h"
#include "scheduler/request_scheduler.h"
#include "session/host_event_dispatcher.h"
#include "session/language_switch.h"
#include "session/open_results.h"
#include "session/socket_events.h"
#include "settingshub/private_folder.h"
#include "transport/isocket_client.h"

#include <boost/thread/shared_mutex.hpp>

#include <memory>
#include <string>

namespace panedeck::host {

/// Everything that serves the panes of the open results: the handlers and what they share, the scheduler, the
/// connection. For one thread, which is not the I/O thread.
class HostSession {
public:
    /// Makes the handlers for what is open. `exports` is the folder that is shared with the GUI server for
    /// downloads; not open: there are none.
    explicit HostSession(open_results_t results, settingshub2::PrivateFolder exports = {});
    /// Closes.
    ~HostSession();
    HostSession(const HostSession&) = delete;
    HostSession& operator=(const HostSession&) = delete;

    /// Connects to the GUI server in the background and serves, reconnecting for as long as it takes, until
    /// `close`. `token` goes into the handshake, and into no log; an empty one is not handed over.
    bk2::error_code_t connect(const server_address_t& server, const std::string& role,
                              const std::string& token);

    /// Stops in the order in which things depend on each other: no more requests, all tasks cancelled, the
    /// connection closed, the threads joined; then the handlers go, and the results. May be called again.
    void close();

private:
    void addHandlers(settingshub2::PrivateFolder exports);

    // In the order of dependence: what stands further down uses what stands above it.
    open_results_t m_results;
    boost::shared_mutex
        m_dataLock; ///< see the handlers: shared to read the results' data, exclusive to change it
    std::shared_ptr<IFilterMgr> m_filterMgr;
    std::shared_ptr<IRequestHandlerGroup> m_handlers;
    std::shared_ptr<IRequestDispatcher> m_dispatcher;
    bk2::task_system_t m_tasks;
    SocketEvents m_socketEvents;
    bk2::sptr_t<ISocketClient> m_client;
    RequestScheduler m_scheduler;
    HostEventDispatcher m_events;
    LanguageSwitch m_languageSwitch;
};

} // namespace panedeck::host
