#pragma once

// The factories of all request handlers. A host makes the ones that it wants and adds them to a dispatcher or
// to a group. The objects that a factory takes by plain pointer or reference outlive the handler.

#include "basekit/api.h"
#include "basekit/sptr.h"
#include "dataface/input_data.h"
#include "dispatch/ievent_dispatcher.h"
#include "dispatch/irequest_handler.h"

#include <boost/thread/shared_mutex.hpp>

#include <memory>

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

/// Domain `options`: reads and changes the user's options. With `outputIsProduct` set, `options:get` always
/// reports the application's output as "productOutput", whatever is stored.
PANEDECK_API std::shared_ptr<IRequestHandler> createOptionsRequestHandler(bool outputIsProduct);

} // namespace panedeck
