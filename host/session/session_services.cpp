#include "session/session_services.h"

#include "handlers/request_handlers.h"
#include "session/session_folder.h"
#include "settingshub/session_storage.h"

namespace panedeck::host {

void addSessionServices(IRequestHandlerGroup& handlers, const open_results_t& results) {
    const session_folder_t folder = findSessionFolder(results.paths);
    const auto session = settingshub2::ISessionStorage::create(folder.path, nullptr, folder.kind);
    handlers.addRequestHandler(createStorageRequestHandler(session, results.library));
    handlers.addRequestHandler(createGlobalStorageRequestHandler());
    handlers.addRequestHandler(createLocalizationRequestHandler(messageCatalogName));
    handlers.addRequestHandler(createProductHelpRequestHandler());
    handlers.addRequestHandler(createProductStatisticRequestHandler());
    handlers.addRequestHandler(createFeatureManagementRequestHandler());
}

} // namespace panedeck::host
