#include "session/host_session.h"

#include "handlers/request_handlers.h"
#include "logkit/component_logger.h"
#include "portkit/catalog.h"
#include "session/export_request_handler.h"
#include "session/profile_request_handler.h"
#include "session/session_services.h"
#include "transport/sensitive_parameter.h"

#include <utility>

namespace panedeck::host {

HostSession::HostSession(open_results_t results, settingshub2::PrivateFolder exports)
    : m_results(std::move(results)),
      m_filterMgr(IFilterMgr::create(m_results.library, m_results.first, m_results.second)),
      m_handlers(IRequestHandlerGroup::create()), m_dispatcher(IRequestDispatcher::create()),
      m_client(ISocketClient::create(&m_socketEvents)), m_scheduler(m_dispatcher, m_client, m_tasks),
      m_events(m_scheduler, m_client), m_languageSwitch(m_tasks, m_events) {
    m_socketEvents.setScheduler(m_scheduler);
    m_socketEvents.setLanguageSwitch(m_languageSwitch);
    m_dispatcher->addRequestHandlerGroup(m_handlers);
    addHandlers(std::move(exports));
}

HostSession::~HostSession() {
    close();
}

void HostSession::addHandlers(settingshub2::PrivateFolder exports) {
    m_handlers->addRequestHandler(std::make_shared<ProfileRequestHandler>(m_results));
    m_handlers->addRequestHandler(createOptionsRequestHandler(false));
    addSessionServices(*m_handlers, m_results);
    m_handlers->addRequestHandler(createGridRequestHandler(m_results.library, m_filterMgr, &m_events,
                                                           m_dataLock, m_results.first, m_results.second));
    const auto grids = createGridViewRequestHandler(
        m_results.library, portkit2::getMessageCatalog(messageCatalogName), m_filterMgr, &m_events,
        m_dataLock, m_results.first, m_results.second, nullptr, nullptr);
    m_handlers->addRequestHandler(grids);
    m_handlers->addRequestHandler(std::make_shared<ExportRequestHandler>(grids, std::move(exports)));
}

bk2::error_code_t HostSession::connect(const server_address_t& server, const std::string& role,
                                       const std::string& token) {
    bk2::variant_bag_t parameters;
    if (!token.empty()) parameters.put("token", bk2::variant_t(sensitive_parameter::mark(token)));
    return m_client->connectToServer(server.host.c_str(), server.port, role.c_str(), &parameters);
}

void HostSession::close() {
    m_scheduler.stop();
    m_socketEvents.stopPausing();
    const auto error = m_client->closeConnection();
    if (error.failed()) logkit1::log(logkit1::level_t::error, error.as_string());
    m_tasks.stop();
    m_handlers->removeRequestHandlers();
    m_filterMgr.reset();
    m_results = {};
}

} // namespace panedeck::host
