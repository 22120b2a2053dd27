#pragma once

#include "dispatch/irequest_handler.h"
#include "handlers/igrid_export.h"
#include "settingshub/private_folder.h"

#include <memory>
#include <string>

namespace panedeck::host {

/// Domain `export`: exports of a grid for a person at a browser.
///
///  - `download` exports into the folder that host and relay share and gives the address, relative to the
///  page, under
///    which the relay hands the file out. In all else it is the request `gridview:exportToCsv`: what cancels
///    that one cancels this one, which then leaves no file.
///  - `resolve` says where an export to a given path would go, and whether it would replace a file.
class ExportRequestHandler : public IRequestHandler {
public:
    /// `grids` is the handler of the domain `gridview` and an `IGridExport`. Without an open `folder` every
    /// `download` fails.
    ExportRequestHandler(std::shared_ptr<IRequestHandler> grids, settingshub2::PrivateFolder folder);

    std::string getDomainName() override;
    bk2::error_code_t handleRequest(const std::string& operation, const bk2::variant_bag_t& request,
                                    bk2::variant_bag_t& response, notifykit2::IProgress* progress) override;
    std::shared_ptr<ITaskDisplacementStrategy> getTaskDisplacementStrategy() override;

private:
    bk2::error_code_t download(const bk2::variant_bag_t& request, bk2::variant_bag_t& response,
                               notifykit2::IProgress* progress);
    bk2::error_code_t exportToNewFile(const bk2::variant_bag_t& request, std::string& name,
                                      notifykit2::IProgress* progress);

    std::shared_ptr<ITaskDisplacementStrategy> m_strategy;
    std::shared_ptr<IGridExport> m_exporter;
    settingshub2::PrivateFolder m_folder;
};

} // namespace panedeck::host
