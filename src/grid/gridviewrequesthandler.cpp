#include "grid/gridviewrequesthandler.h"

#include "basekit/assertion.h"
#include "dispatch/ievent_dispatcher.h"
#include "filter/ifilter_mgr.h"
#include "grid/grid_request_names.h"
#include "grid/table_tree_query_steps.h"
#include "gridmodel/empty_table_tree.h"
#include "gridmodel/grid_bags.h"
#include "gridmodel/request_values.h"
#include "handlers/request_handlers.h"

#include <utility>

namespace panedeck {

using bk2::error_code_t;
using bk2::variant_bag_t;
using bk2::variant_t;

namespace {

constexpr char invalid_view_parameters[] = "Invalid grid view parameters specified.";

error_code_t requireModel(const bk2::sptr_t<GridModel>& model) {
    PANEDECK_REQUIRE(model, "model", bk2::kinds::failed_to_process_this_operation, "Grid model not found.");
    return error_code_t::success();
}

bool isCanceled(const notifykit2::IProgress* progress) {
    return notifykit2::is_canceled(progress);
}

} // namespace

GridViewRequestHandler::GridViewRequestHandler(
    std::shared_ptr<IFilterMgr> filterMgr, IEventDispatcher* eventDispatcher,
    boost::shared_mutex& sharedMutex, bk2::sptr_t<dataface1::IInputData> inputData,
    bk2::sptr_t<dataface1::IInputData> extraInputData, bk2::sptr_t<dataface1::IQueryLibrary> queryLibrary,
    const portkit2::catalog_t* catalog, std::shared_ptr<IFileSystemCallbacks> fileSystemCallbacks,
    std::shared_ptr<IViewerCallbacks> viewerCallbacks)
    : BaseGridRequestHandler(std::move(filterMgr), eventDispatcher, sharedMutex, std::move(inputData),
                             std::move(extraInputData), std::move(queryLibrary)),
      m_catalog(catalog),
      m_modelRequests(eventDispatcher, std::move(fileSystemCallbacks), std::move(viewerCallbacks)) {}

GridViewRequestHandler::~GridViewRequestHandler() = default;

std::string GridViewRequestHandler::getDomainName() {
    return "gridview";
}

error_code_t GridViewRequestHandler::handleRequest(const std::string& requestType,
                                                   const variant_bag_t& request, variant_bag_t& answer,
                                                   notifykit2::IProgress* progress) {
    if (requestType == "columnState") return processColumnStateRequest(request);
    if (requestType == "viewSource") return processViewSourceRequest(request, answer);
    const Model model = m_gridModels.find(readText(request, "gridid", ""));
    const error_code_t code = m_modelRequests.handleRequest(requestType, request, answer, model, progress);
    if (!code.is_nothing_done()) return code;
    return processDataRequest(requestType, request, answer, progress);
}

error_code_t GridViewRequestHandler::processDataRequest(const std::string& requestType,
                                                        const variant_bag_t& request, variant_bag_t& answer,
                                                        notifykit2::IProgress* progress) {
    const auto dataLock = lockData();
    if (isViewRequest(requestType)) return processGridViewRequest(requestType, request, answer, progress);
    if (requestType == "selection") return processSelectionRequest(request, answer);
    if (requestType == "position") return processPositionRequest(request, answer);
    return error_code_t::raise(bk2::kinds::failed_to_process_this_operation, requestType, __func__, __LINE__);
}

error_code_t GridViewRequestHandler::processGridViewRequest(const std::string& requestType,
                                                            const variant_bag_t& request,
                                                            variant_bag_t& answer,
                                                            notifykit2::IProgress* progress) {
    const GridViewParams params = createGridViewParamsFromSectionBag(request);
    const RequestType type = requestTypeOf(requestType);
    if (type == RefreshRequest) return refresh(params, request, answer, progress);
    const Model model = m_gridModels.find(params.gridId);
    if (const auto code = requireModel(model); code.failed()) return code;
    GridModel::Lock lock(model);
    if (const auto code = changeView(model, type, params, request, progress); code.failed()) return code;
    if (isCanceled(progress)) return error_code_t::canceled();
    saveGridModelToVBag(type, model, answer);
    return error_code_t::success();
}

error_code_t GridViewRequestHandler::changeView(const Model& model, RequestType type,
                                                const GridViewParams& params, const variant_bag_t& request,
                                                notifykit2::IProgress* progress) {
    switch (type) {
    case SortRequest:
        return model->sort(createSortingConditionFromBag(request));
    case ChangeStackModeRequest:
        return changeStackMode(model, request, progress);
    case ExpandRequest:
    case CollapseRequest:
    case CollapseAllRowsRequest:
    case ExpandSelectedRowsRequest:
    case ExpandRowsRecursivelyRequest: {
        const auto code = m_modelRequests.handleExpandCollapseRequest(model, params, type, progress);
        if (code.failed()) return code;
        return updateSelectionFilter(model->popSelectionState(), readText(request, "paneId", ""));
    }
    default:
        PANEDECK_REQUIRE(model->validateAndSetViewParams(params), "model->validateAndSetViewParams(params)",
                         bk2::kinds::is_not_valid_argument, invalid_view_parameters);
        return error_code_t::success();
    }
}

error_code_t GridViewRequestHandler::changeStackMode(const Model& model, const variant_bag_t& request,
                                                     notifykit2::IProgress* progress) {
    const std::string stackMode = readText(request, "stackMode", "");
    PANEDECK_REQUIRE(!stackMode.empty(), "!stackMode.empty()", bk2::kinds::failed_to_get_attribute_key,
                     "stackMode");
    model->toggleStackMode(stackMode == "chain" ? ChainMode : TreeMode, progress);
    if (isCanceled(progress)) return error_code_t::canceled();
    return updateSelectionFilter(model->popSelectionState(), readText(request, "paneId", ""));
}

error_code_t GridViewRequestHandler::refresh(const GridViewParams& params, const variant_bag_t& request,
                                             variant_bag_t& answer, notifykit2::IProgress* progress) {
    int queryType = slicerkit1::query_bottom_up;
    bk2::sptr_t<dataface1::ITableTree> tree;
    // Rows may be computed with it until the end of the refresh.
    TempFilter tempFilter(getFilterMgr());
    if (const auto code = runQuery(request, tempFilter, queryType, tree, progress); code.failed())
        return code;
    if (!tree) tree = bk2::make_sptr<EmptyTableTree>();
    Model model = m_gridModels.find(params.gridId);
    if (!model)
        model =
            bk2::make_sptr<GridModel>(gridTypeOf(queryType), m_catalog, getInputData(), getExtraInputData());
    return fillModel(model, tree, params, request, answer, progress);
}

error_code_t GridViewRequestHandler::runQuery(const variant_bag_t& request, TempFilter& tempFilter,
                                              int& queryType, bk2::sptr_t<dataface1::ITableTree>& tree,
                                              notifykit2::IProgress* progress) {
    int queryFlags = 0;
    bk2::sptr_t<slicerkit1::ITableTreeQuery> query;
    if (const auto code = prepareQuery(query, queryType, queryFlags, request, tempFilter, progress);
        code.failed())
        return code;
    // A refresh goes on without a focus object that cannot be understood.
    if (const auto* focusBag = request.get<variant_bag_t>("focusObjectInfo"))
        (void)addFocusObjectInfoToQuery(query, *focusBag);
    return runTableTreeQuery(query, queryType, queryFlags, tree, progress);
}

error_code_t GridViewRequestHandler::fillModel(const Model& model,
                                               const bk2::sptr_t<dataface1::ITableTree>& tree,
                                               const GridViewParams& params, const variant_bag_t& request,
                                               variant_bag_t& answer, notifykit2::IProgress* progress) {
    GridModel::Lock lock(model);
    const error_code_t code = model->init(tree, params, stackModeOf(readText(request, "stackMode", "")),
                                          createPersistedSortingFromBag(request), progress);
    if (isCanceled(progress)) return error_code_t::canceled();
    if (code.failed()) return code;
    m_gridModels.set(params.gridId, model);
    PANEDECK_EXPECT(model->processPositioning().succeeded(), "model->processPositioning().succeeded()");
    (void)updateSelectionFilter(model->popSelectionState(), readText(request, "paneId", ""));
    saveGridModelToVBag(RefreshRequest, model, answer);
    return error_code_t::success();
}

error_code_t
GridViewRequestHandler::addFocusObjectInfoToQuery(const bk2::sptr_t<slicerkit1::ITableTreeQuery>& query,
                                                  const variant_bag_t& focusBag) const {
    const variant_t objectid = focusBag.get_variant("objectid");
    const std::string grouping = textOr(focusBag.get<variant_t>("grouping"), "");
    PANEDECK_REQUIRE(!grouping.empty(), "!grouping.empty()", bk2::kinds::is_not_valid_argument,
                     "Invalid focus object query specified");
    const auto focusQuery = createVectorQuery(getQueryLibrary(), grouping);
    PANEDECK_REQUIRE(focusQuery && !objectid.is_null(), "focusQuery && !objectid.is_null()",
                     bk2::kinds::is_not_valid_argument, "Invalid focus object parameters specified");
    return query->setFocusObject(focusQuery, objectid);
}

error_code_t GridViewRequestHandler::exportGrid(const variant_bag_t& request, const std::string& filePath,
                                                notifykit2::IProgress* progress) {
    return m_modelRequests.exportToFile(filePath, m_gridModels.find(readText(request, "gridid", "")),
                                        progress);
}

error_code_t GridViewRequestHandler::processColumnStateRequest(const variant_bag_t& request) const {
    const Model model = m_gridModels.find(readText(request, "gridid", ""));
    if (const auto code = requireModel(model); code.failed()) return code;
    GridModel::Lock lock(model);
    ColumnHierarchy hierarchy;
    createColumnHierarchyFromVBag(hierarchy, request);
    model->updateColumnState(hierarchy);
    return error_code_t::success();
}

error_code_t GridViewRequestHandler::processSelectionRequest(const variant_bag_t& request,
                                                             variant_bag_t& answer) {
    int type = SelectNone;
    PANEDECK_REQUIRE(findSelectionType(readText(request, "selectionType", ""), type),
                     "findSelectionType(selectionType, type)", bk2::kinds::failed_to_process_this_operation,
                     "The selection type is unknown.");
    const Model model = m_gridModels.find(readText(request, "gridid", ""));
    if (const auto code = requireModel(model); code.failed()) return code;
    GridModel::Lock lock(model);
    PANEDECK_PASS_ON(
        model->processRowSelection(readInteger(request, "row", -1), readRowId(request, 0), type));
    PANEDECK_PASS_ON(updateSelectionFilter(model->popSelectionState(), readText(request, "paneId", "")));
    saveGridModelToVBag(SelectRequest, model, answer);
    return error_code_t::success();
}

error_code_t GridViewRequestHandler::processPositionRequest(const variant_bag_t& request,
                                                            variant_bag_t& answer) {
    const Model model = m_gridModels.find(readText(request, "gridid", ""));
    PANEDECK_REQUIRE(model, "model", bk2::kinds::is_not_valid_argument, "Invalid grid model");
    GridModel::Lock lock(model);
    GridViewParams focus = createGridViewParamsFromSectionBag(request);
    GridViewParams window = model->getViewParams();
    window.focusColumnName = std::move(focus.focusColumnName);
    window.focusRowReferences = std::move(focus.focusRowReferences);
    PANEDECK_REQUIRE(model->validateAndSetViewParams(window), "model->validateAndSetViewParams(window)",
                     bk2::kinds::is_not_valid_argument, invalid_view_parameters);
    PANEDECK_EXPECT(model->processPositioning().succeeded(), "model->processPositioning().succeeded()");
    (void)updateSelectionFilter(model->popSelectionState(), readText(request, "paneId", ""));
    saveGridModelToVBag(PositionRequest, model, answer);
    return error_code_t::success();
}

error_code_t GridViewRequestHandler::processViewSourceRequest(const variant_bag_t& request,
                                                              variant_bag_t& answer) {
    const Model model = m_gridModels.find(readText(request, "gridid", ""));
    if (const auto code = requireModel(model); code.failed()) return code;
    GridModel::Lock lock(model);
    if (const auto code = prepareDiveFilters(); code.failed()) return code;
    GridViewParams focus = createGridViewParamsFromSectionBag(request);
    if (!focus.focusRowReferences.empty()) {
        GridViewParams window = model->getViewParams();
        window.focusRowReferences = std::move(focus.focusRowReferences);
        PANEDECK_REQUIRE(model->validateAndSetViewParams(window), "model->validateAndSetViewParams(window)",
                         bk2::kinds::is_not_valid_argument, invalid_view_parameters);
    }
    bk2::sptr_t<dataface1::IQueryFilter> targetFilter, dataFilter;
    std::string groupingId;
    PANEDECK_PASS_ON(model->createDiveFiltersFromBag(request, targetFilter, dataFilter, groupingId));
    PANEDECK_PASS_ON(getFilterMgr()->registerQueryFilter(m_diveTargetFilter->name, targetFilter));
    PANEDECK_PASS_ON(getFilterMgr()->registerQueryFilter(m_diveDataFilter->name, dataFilter));
    answer.put<variant_t>("TargetFilterKey", variant_t(m_diveTargetFilter->name));
    answer.put<variant_t>("DataFilterKey", variant_t(m_diveDataFilter->name));
    answer.put<variant_t>("DiveGroupingIdKey", variant_t(groupingId));
    return error_code_t::success();
}

error_code_t GridViewRequestHandler::prepareDiveFilters() {
    const std::lock_guard lock(m_diveMutex);
    if (!m_diveTargetFilter && getFilterMgr())
        m_diveTargetFilter = std::make_unique<TempFilter>(getFilterMgr());
    PANEDECK_REQUIRE(m_diveTargetFilter, "m_diveTargetFilter", bk2::kinds::is_not_valid_pointer,
                     "m_diveTargetFilter");
    if (!m_diveDataFilter) m_diveDataFilter = std::make_unique<TempFilter>(getFilterMgr());
    PANEDECK_REQUIRE(m_diveDataFilter, "m_diveDataFilter", bk2::kinds::is_not_valid_pointer,
                     "m_diveDataFilter");
    return error_code_t::success();
}

error_code_t GridViewRequestHandler::updateSelectionFilter(const SelectionState& state,
                                                           const std::string& paneId) const {
    if (!state.changed) return error_code_t::nothing_done();
    const std::string name = getFilterMgr()->getSelectionFilterName(paneId);
    PANEDECK_EXPECT(state.cleared || state.filter, "state.filter");
    const error_code_t code = state.cleared ? getFilterMgr()->clearFilter(name)
                                            : getFilterMgr()->registerQueryFilter(name, state.filter);
    if (code.failed()) return code;
    variant_bag_t payload;
    payload.put<variant_t>("filterName", variant_t(name));
    PANEDECK_PASS_ON(getEventDispatcher()->sendEvent("FilterChangedEvent", &payload));
    return error_code_t::success();
}

std::shared_ptr<IRequestHandler>
createGridViewRequestHandler(const bk2::sptr_t<dataface1::IQueryLibrary>& queryLibrary,
                             const portkit2::catalog_t* catalog, const std::shared_ptr<IFilterMgr>& filterMgr,
                             IEventDispatcher* eventDispatcher, boost::shared_mutex& dataLock,
                             const bk2::sptr_t<dataface1::IInputData>& inputData,
                             const bk2::sptr_t<dataface1::IInputData>& extraInputData,
                             std::shared_ptr<IFileSystemCallbacks> fileSystemCallbacks,
                             std::shared_ptr<IViewerCallbacks> viewerCallbacks) {
    return std::make_shared<GridViewRequestHandler>(
        filterMgr, eventDispatcher, dataLock, inputData, extraInputData, queryLibrary, catalog,
        std::move(fileSystemCallbacks), std::move(viewerCallbacks));
}

} // namespace panedeck
