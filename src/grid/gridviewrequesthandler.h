#pragma once

#include "base_gridview_request_handler.h"
#include "filter/temp_filter.h"
#include "grid/basegridrequesthandler.h"
#include "grid/grid_model_map.h"
#include "handlers/igrid_export.h"

#include <memory>
#include <mutex>
#include <string>

namespace panedeck {

/// Domain `gridview`: the stateful grids of the panes. `refresh` runs a query into the model of the request's
/// `gridid`; every later request acts on that model and answers with the rows of its window. A model lives
/// from its first successful refresh until the handler dies.
class GridViewRequestHandler : public BaseGridRequestHandler, public IGridExport {
public:
    GridViewRequestHandler(std::shared_ptr<IFilterMgr> filterMgr, IEventDispatcher* eventDispatcher,
                           boost::shared_mutex& sharedMutex, bk2::sptr_t<dataface1::IInputData> inputData,
                           bk2::sptr_t<dataface1::IInputData> extraInputData,
                           bk2::sptr_t<dataface1::IQueryLibrary> queryLibrary,
                           const portkit2::catalog_t* catalog,
                           std::shared_ptr<IFileSystemCallbacks> fileSystemCallbacks,
                           std::shared_ptr<IViewerCallbacks> viewerCallbacks);
    ~GridViewRequestHandler() override;

    std::string getDomainName() override;
    bk2::error_code_t handleRequest(const std::string& requestType, const bk2::variant_bag_t& request,
                                    bk2::variant_bag_t& answer, notifykit2::IProgress* progress) override;
    bk2::error_code_t exportGrid(const bk2::variant_bag_t& request, const std::string& filePath,
                                 notifykit2::IProgress* progress) override;

private:
    using Model = bk2::sptr_t<GridModel>;

    bk2::error_code_t processDataRequest(const std::string& requestType, const bk2::variant_bag_t& request,
                                         bk2::variant_bag_t& answer, notifykit2::IProgress* progress);
    bk2::error_code_t processGridViewRequest(const std::string& requestType,
                                             const bk2::variant_bag_t& request, bk2::variant_bag_t& answer,
                                             notifykit2::IProgress* progress);
    bk2::error_code_t changeView(const Model& model, RequestType type, const GridViewParams& params,
                                 const bk2::variant_bag_t& request, notifykit2::IProgress* progress);
    bk2::error_code_t changeStackMode(const Model& model, const bk2::variant_bag_t& request,
                                      notifykit2::IProgress* progress);
    bk2::error_code_t refresh(const GridViewParams& params, const bk2::variant_bag_t& request,
                              bk2::variant_bag_t& answer, notifykit2::IProgress* progress);
    bk2::error_code_t runQuery(const bk2::variant_bag_t& request, TempFilter& tempFilter, int& queryType,
                               bk2::sptr_t<dataface1::ITableTree>& tree, notifykit2::IProgress* progress);
    bk2::error_code_t fillModel(const Model& model, const bk2::sptr_t<dataface1::ITableTree>& tree,
                                const GridViewParams& params, const bk2::variant_bag_t& request,
                                bk2::variant_bag_t& answer, notifykit2::IProgress* progress);
    bk2::error_code_t addFocusObjectInfoToQuery(const bk2::sptr_t<slicerkit1::ITableTreeQuery>& query,
                                                const bk2::variant_bag_t& focusBag) const;
    bk2::error_code_t processColumnStateRequest(const bk2::variant_bag_t& request) const;
    bk2::error_code_t processSelectionRequest(const bk2::variant_bag_t& request, bk2::variant_bag_t& answer);
    bk2::error_code_t processPositionRequest(const bk2::variant_bag_t& request, bk2::variant_bag_t& answer);
    bk2::error_code_t processViewSourceRequest(const bk2::variant_bag_t& request, bk2::variant_bag_t& answer);
    bk2::error_code_t prepareDiveFilters();
    bk2::error_code_t updateSelectionFilter(const SelectionState& state, const std::string& paneId) const;

    GridModelMap m_gridModels;
    const portkit2::catalog_t* m_catalog; ///< not owned, may be null
    BaseGridViewRequestHandler m_modelRequests;
    std::mutex m_diveMutex; ///< guards the making of the two dive filters; held for nothing else
    // One pair for all grids: a later dive replaces what the former registered.
    std::unique_ptr<TempFilter> m_diveTargetFilter;
    std::unique_ptr<TempFilter> m_diveDataFilter;
};

} // namespace panedeck
