#include "base_gridview_request_handler.h"

#include "basekit/assertion.h"
#include "basekit/task_waiting_scope.h"
#include "gridmodel/request_values.h"
#include "utils/csv_writer.h"

#include <utility>

namespace panedeck {

namespace {

bk2::error_code_t requireModel(const bk2::sptr_t<GridModel>& model) {
    PANEDECK_REQUIRE(model, "model", bk2::kinds::failed_to_process_this_operation, "Grid model not found.");
    return bk2::error_code_t::success();
}

} // namespace

BaseGridViewRequestHandler::BaseGridViewRequestHandler(
    IEventDispatcher* eventDispatcher, std::shared_ptr<IFileSystemCallbacks> fileSystemCallbacks,
    std::shared_ptr<IViewerCallbacks> viewerCallbacks)
    : m_eventDispatcher(eventDispatcher), m_fileSystemCallbacks(std::move(fileSystemCallbacks)),
      m_viewerCallbacks(std::move(viewerCallbacks)) {}

BaseGridViewRequestHandler::~BaseGridViewRequestHandler() = default;

bk2::error_code_t BaseGridViewRequestHandler::handleRequest(const std::string& requestType,
                                                            const bk2::variant_bag_t& request,
                                                            bk2::variant_bag_t& answer,
                                                            const bk2::sptr_t<GridModel>& model,
                                                            notifykit2::IProgress* progress) {
    if (requestType == "copyRowsToClipboard") return processCopyRowsRequest(answer, model);
    if (requestType == "exportToCsv") return processExportToCsvRequest(request, model, progress);
    if (requestType == "search") return processSearchRequest(request, answer, model, progress);
    return bk2::error_code_t::nothing_done();
}

bk2::error_code_t BaseGridViewRequestHandler::processSearchRequest(const bk2::variant_bag_t& request,
                                                                   bk2::variant_bag_t& answer,
                                                                   const bk2::sptr_t<GridModel>& model,
                                                                   notifykit2::IProgress* progress) const {
    const std::string key = readText(request, "searchKey", "");
    if (const auto code = requireModel(model); code.failed()) return code;
    GridModel::Lock lock(model);
    return model->search(key, answer.add_variant_bag("search"), progress);
}

bk2::error_code_t
BaseGridViewRequestHandler::processExportToCsvRequest(const bk2::variant_bag_t& request,
                                                      const bk2::sptr_t<GridModel>& model,
                                                      notifykit2::IProgress* progress) const {
    const std::string filePath = readText(request, "filePath", "");
    PANEDECK_REQUIRE(!filePath.empty(), "!filePath.empty()", bk2::kinds::is_not_valid_parameter, "filePath");
    if (const auto code = requireModel(model); code.failed()) return code;
    GridModel::Lock lock(model);
    // The file may be a pipe that nobody reads, or lie on a disk that is away.
    const bk2::task_waiting_scope_t waiting;
    const auto writer = createCSVWriter(filePath, ',');
    PANEDECK_REQUIRE(writer && writer->hasValidFileStream(), "writer && writer->hasValidFileStream()",
                     bk2::kinds::is_not_valid_object, "");
    // Once the file could be opened the request counts as done, however far the export came.
    (void)model->exportToCsv(writer, progress);
    return bk2::error_code_t::success();
}

bk2::error_code_t BaseGridViewRequestHandler::exportToFile(const std::string& filePath,
                                                           const bk2::sptr_t<GridModel>& model,
                                                           notifykit2::IProgress* progress) const {
    if (const auto code = requireModel(model); code.failed()) return code;
    GridModel::Lock lock(model);
    const bk2::task_waiting_scope_t waiting;
    const auto writer = createCSVWriter(filePath, ',');
    PANEDECK_REQUIRE(writer->hasValidFileStream(), "writer->hasValidFileStream()",
                     bk2::kinds::failed_to_open_this_object, filePath);
    if (const auto code = model->exportToCsv(writer, progress); code.failed()) return code;
    PANEDECK_REQUIRE(writer->flush(), "writer->flush()", bk2::kinds::failed_to_process_the_object,
                     "The file could not be written to its end: " + filePath);
    return bk2::error_code_t::success();
}

bk2::error_code_t
BaseGridViewRequestHandler::processCopyRowsRequest(bk2::variant_bag_t& answer,
                                                   const bk2::sptr_t<GridModel>& model) const {
    if (const auto code = requireModel(model); code.failed()) return code;
    GridModel::Lock lock(model);
    std::string text;
    PANEDECK_PASS_ON(model->copySelectedRowsToString(text));
    answer.put_own_value("copiedRows", bk2::variant_t(text));
    return bk2::error_code_t::success();
}

bk2::error_code_t BaseGridViewRequestHandler::handleExpandCollapseRequest(const bk2::sptr_t<GridModel>& model,
                                                                          const GridViewParams& params,
                                                                          RequestType type,
                                                                          notifykit2::IProgress* progress) {
    GridViewParams window = model->getViewParams();
    window.rowId = params.rowId;
    window.expandedRow = -1;
    window.expandedCount = 0;
    PANEDECK_REQUIRE(model->validateAndSetViewParams(window), "model->validateAndSetViewParams(window)",
                     bk2::kinds::is_not_valid_argument, "Invalid grid view parameters specified.");
    switch (type) {
    case ExpandSelectedRowsRequest:
        model->expandSelectedRows(progress);
        break;
    case CollapseAllRowsRequest:
        model->collapseAllRows(progress);
        break;
    case ExpandRowsRecursivelyRequest:
        model->expandRowsRecursively(progress, 0);
        break;
    default:
        model->expandRow(model->getAddressedRow(params.startRow, params.rowId), type == ExpandRequest,
                         progress);
    }
    return bk2::error_code_t::success();
}

} // namespace panedeck
