#pragma once

#include "dispatch/irequest_handler.h"

namespace panedeck {

/// The domain `options`: the front end reads and changes the user's options, all in one request.
class OptionsRequestHandler final : public IRequestHandler {
public:
    /// With `fixedOutputDestination` the front end is always told "productOutput"; see
    /// `IGeneralOptions::load`.
    explicit OptionsRequestHandler(bool fixedOutputDestination)
        : m_fixedOutputDestination(fixedOutputDestination) {}

    std::string getDomainName() override;
    bk2::error_code_t handleRequest(const std::string& operation, const bk2::variant_bag_t& request,
                                    bk2::variant_bag_t& response, notifykit2::IProgress* progress) override;

private:
    void get(bk2::variant_bag_t& response) const;
    void set(const bk2::variant_bag_t& request) const;

    bool m_fixedOutputDestination;
};

} // namespace panedeck
