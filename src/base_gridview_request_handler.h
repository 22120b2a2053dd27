#pragma once

#include "basekit/api.h"
#include "basekit/error_code.h"
#include "basekit/variant_bag.h"
#include "gridmodel/gridmodel.h"

#include <memory>
#include <string>

namespace panedeck {

class IEventDispatcher;
class IFileSystemCallbacks;
class IViewerCallbacks;

/// The requests that need a finished grid model and nothing of queries: search, export, copy, expansion.
/// Whoever owns grid models hands one in; null fails the request.
class PANEDECK_API BaseGridViewRequestHandler {
public:
    BaseGridViewRequestHandler(IEventDispatcher* eventDispatcher,
                               std::shared_ptr<IFileSystemCallbacks> fileSystemCallbacks,
                               std::shared_ptr<IViewerCallbacks> viewerCallbacks);
    /// Serves `copyRowsToClipboard`, `exportToCsv` and `search`, taking the model's lock. The non-failing
    /// status for every other text: the request is still to be served.
    virtual bk2::error_code_t handleRequest(const std::string& requestType, const bk2::variant_bag_t& request,
                                            bk2::variant_bag_t& answer, const bk2::sptr_t<GridModel>& model,
                                            notifykit2::IProgress* progress);
    virtual ~BaseGridViewRequestHandler();

    /// Opens or closes rows. The caller holds the model's lock. The window stays the model's own; `params`
    /// only names the row. Fails if the model has no valid window; a cancel is no failure here.
    bk2::error_code_t handleExpandCollapseRequest(const bk2::sptr_t<GridModel>& model,
                                                  const GridViewParams& params, RequestType type,
                                                  notifykit2::IProgress* progress);

    /// Writes the model's rows, taking its lock; see `IGridExport::exportGrid`.
    bk2::error_code_t exportToFile(const std::string& filePath, const bk2::sptr_t<GridModel>& model,
                                   notifykit2::IProgress* progress) const;

private:
    bk2::error_code_t processCopyRowsRequest(bk2::variant_bag_t& answer,
                                             const bk2::sptr_t<GridModel>& model) const;
    bk2::error_code_t processExportToCsvRequest(const bk2::variant_bag_t& request,
                                                const bk2::sptr_t<GridModel>& model,
                                                notifykit2::IProgress* progress) const;
    bk2::error_code_t processSearchRequest(const bk2::variant_bag_t& request, bk2::variant_bag_t& answer,
                                           const bk2::sptr_t<GridModel>& model,
                                           notifykit2::IProgress* progress) const;

    // For derived handlers; not owned and shared.
    IEventDispatcher* m_eventDispatcher;
    std::shared_ptr<IFileSystemCallbacks> m_fileSystemCallbacks;
    std::shared_ptr<IViewerCallbacks> m_viewerCallbacks;
};

} // namespace panedeck
