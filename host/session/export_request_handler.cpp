#include "session/export_request_handler.h"

#include "basekit/assertion.h"
#include "dispatch/request_type.h"
#include "gridmodel/request_values.h"
#include "portkit/percent_encode.h"
#include "session/export_file_name.h"
#include "session/export_path.h"

#include <utility>

namespace panedeck::host {

using bk2::error_code_t;
using bk2::variant_bag_t;
using bk2::variant_t;

namespace {

/// A download goes by the name of the grid's own export, so that all questions about it are answered as for
/// that one.
class ExportTaskNames : public ITaskDisplacementStrategy {
public:
    explicit ExportTaskNames(std::shared_ptr<ITaskDisplacementStrategy> grids) : m_grids(std::move(grids)) {}

    std::string buildTaskName(const std::string& requestType, const variant_bag_t& request) override {
        const bool isDownload = splitRequestType(requestType).operation == "download";
        return isDownload ? m_grids->buildTaskName("gridview:exportToCsv", request)
                          : ITaskDisplacementStrategy::buildTaskName(requestType, request);
    }

private:
    std::shared_ptr<ITaskDisplacementStrategy> m_grids;
};

error_code_t resolve(const variant_bag_t& request, variant_bag_t& response) {
    export_path_t resolved;
    const auto code = resolveExportPath(readText(request, "filePath", ""), resolved);
    if (code.failed()) return code;
    response.put("path", variant_t(resolved.path));
    response.put("exists", variant_t(resolved.exists));
    return code;
}

} // namespace

ExportRequestHandler::ExportRequestHandler(std::shared_ptr<IRequestHandler> grids,
                                           settingshub2::PrivateFolder folder)
    : m_strategy(std::make_shared<ExportTaskNames>(grids->getTaskDisplacementStrategy())),
      m_exporter(std::dynamic_pointer_cast<IGridExport>(grids)), m_folder(std::move(folder)) {}

std::string ExportRequestHandler::getDomainName() {
    return "export";
}

std::shared_ptr<ITaskDisplacementStrategy> ExportRequestHandler::getTaskDisplacementStrategy() {
    return m_strategy;
}

error_code_t ExportRequestHandler::handleRequest(const std::string& operation, const variant_bag_t& request,
                                                 variant_bag_t& response, notifykit2::IProgress* progress) {
    if (operation == "download") return download(request, response, progress);
    if (operation == "resolve") return resolve(request, response);
    return error_code_t::raise(bk2::kinds::failed_to_process_this_operation, operation);
}

error_code_t ExportRequestHandler::download(const variant_bag_t& request, variant_bag_t& response,
                                            notifykit2::IProgress* progress) {
    if (!m_folder.is_open())
        return error_code_t::raise(bk2::kinds::failed_to_process_this_operation,
                                   "This host was started without a folder for downloads (--export-dir)");
    std::string name;
    const auto exported = exportToNewFile(request, name, progress);
    if (exported.failed()) {
        m_folder.remove_file(name);
        return exported;
    }
    const std::string fileName = exportFileName(readText(request, "fileName", ""));
    response.put("url", variant_t("download/" + name + "/" + portkit2::percent_encode(fileName)));
    return error_code_t::success();
}

error_code_t ExportRequestHandler::exportToNewFile(const variant_bag_t& request, std::string& name,
                                                   notifykit2::IProgress* progress) {
    PANEDECK_PASS_ON(m_folder.create_file(name));
    const auto exported = m_exporter->exportGrid(request, m_folder.path_of(name), progress);
    if (exported.failed()) return exported;
    // A cancel that came behind the last row: nobody will be told of the file.
    return progress && progress->is_canceled() ? error_code_t::canceled() : error_code_t::success();
}

} // namespace panedeck::host
