#pragma once

// The factories of all request handlers. A host makes the ones that it wants and adds them to a dispatcher or
// to a group. The objects that a factory takes by plain pointer or reference outlive the handler.

#include "basekit/api.h"
#include "basekit/sptr.h"
#include "dataface/input_data.h"
#include "dispatch/ievent_dispatcher.h"
#include "dispatch/irequest_handler.h"
#include "settingshub/session_storage.h"

#include <boost/thread/shared_mutex.hpp>

#include <memory>
#include <string>

namespace portkit2 {
class catalog_t;
}

namespace panedeck {

class IFileSystemCallbacks;
class IFilterMgr;
class IViewerCallbacks;

/// Domain `grid`: reads a query as a whole table in one answer. `queryLibrary` finds groupings and columns,
/// `filterMgr` and `dataLock` are those that all handlers of an open result share; the lock is held shared
/// while the table is read. `extraInputData` is the second result of a comparison, or null.
PANEDECK_API std::shared_ptr<IRequestHandler>
createGridRequestHandler(const bk2::sptr_t<dataface1::IQueryLibrary>& queryLibrary,
                         const std::shared_ptr<IFilterMgr>& filterMgr, IEventDispatcher* eventDispatcher,
                         boost::shared_mutex& dataLock, const bk2::sptr_t<dataface1::IInputData>& inputData,
                         const bk2::sptr_t<dataface1::IInputData>& extraInputData);

/// Domain `gridview`: the stateful tree grids of the panes. `catalog` (not owned, may be null) names the
/// formats; the callbacks are kept for derived handlers and may be null. The rest as for `grid`.
PANEDECK_API std::shared_ptr<IRequestHandler>
createGridViewRequestHandler(const bk2::sptr_t<dataface1::IQueryLibrary>& queryLibrary,
                             const portkit2::catalog_t* catalog, const std::shared_ptr<IFilterMgr>& filterMgr,
                             IEventDispatcher* eventDispatcher, boost::shared_mutex& dataLock,
                             const bk2::sptr_t<dataface1::IInputData>& inputData,
                             const bk2::sptr_t<dataface1::IInputData>& extraInputData,
                             std::shared_ptr<IFileSystemCallbacks> fileSystemCallbacks,
                             std::shared_ptr<IViewerCallbacks> viewerCallbacks);

/// Domain `property`: what panes keep for the user and for the open result. `sessionStorage` is the result's,
/// `queryLibrary` finds custom groupings; without the first every request fails, without the second there are
/// no custom groupings. The second form says which storage holds custom groupings of earlier versions.
PANEDECK_API std::shared_ptr<IRequestHandler>
createStorageRequestHandler(const bk2::sptr_t<settingshub2::ISessionStorageAccessor>& sessionStorage,
                            const bk2::sptr_t<dataface1::IQueryLibrary>& queryLibrary);
PANEDECK_API std::shared_ptr<IRequestHandler>
createStorageRequestHandler(const bk2::sptr_t<settingshub2::IPropertyStorage>& ownStorage,
                            const bk2::sptr_t<settingshub2::ISessionStorageAccessor>& sessionStorage,
                            const bk2::sptr_t<dataface1::IQueryLibrary>& queryLibrary);

/// Domain `globalProperty`: named bags in the sections of the user's settings.
PANEDECK_API std::shared_ptr<IRequestHandler> createGlobalStorageRequestHandler();

/// Domain `localization`: texts for message ids, from the catalog of that name unless a request names
/// another.
PANEDECK_API std::shared_ptr<IRequestHandler>
createLocalizationRequestHandler(const std::string& catalogName);

/// Domain `help`: links for help keywords, from the installed index, and paths of documents.
PANEDECK_API std::shared_ptr<IRequestHandler> createProductHelpRequestHandler();

/// Domain `statistics`: consent to usage statistics, and the counting of uses.
PANEDECK_API std::shared_ptr<IRequestHandler> createProductStatisticRequestHandler();

/// Domain `features`: which features are switched on.
PANEDECK_API std::shared_ptr<IRequestHandler> createFeatureManagementRequestHandler();

/// Domain `options`: reads and changes the user's options. With `outputIsProduct` set, `options:get` always
/// reports the application's output as "productOutput", whatever is stored.
PANEDECK_API std::shared_ptr<IRequestHandler> createOptionsRequestHandler(bool outputIsProduct);

} // namespace panedeck
