#pragma once

#include "dispatch/irequest_handler.h"
#include "session/open_results.h"

#include <string>

namespace panedeck::host {

/// Domain `profile`: what the open results are. `summary` gives for each one its name, the file that it was
/// made of, when that was taken, how many samples it has, its metrics with their totals, and what the import
/// skipped; what is not known is left out.
class ProfileRequestHandler : public IRequestHandler {
public:
    explicit ProfileRequestHandler(open_results_t results) : m_results(std::move(results)) {}

    std::string getDomainName() override;
    bk2::error_code_t handleRequest(const std::string& operation, const bk2::variant_bag_t& request,
                                    bk2::variant_bag_t& response, notifykit2::IProgress* progress) override;

private:
    const open_results_t m_results;
};

} // namespace panedeck::host
