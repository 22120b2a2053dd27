#pragma once

// Needed by the domain `statistics`: how often features are used, if the user agrees to have that counted.

#include "basekit/api.h"
#include "basekit/error_code.h"
#include "basekit/sptr.h"
#include "settingshub/property_storage.h"

#include <memory>
#include <string>

namespace usagestat1 {

/// Whether the user agrees. Stored as these numbers.
enum class consent_t : int {
    pending = 0, ///< not asked yet
    given = 1,
    refused = 2,
};

/// The usage statistics of the user. They stay in the user's settings on this machine, and nothing is kept of
/// them without consent. Stateless over its storage; safe from any thread and with several programs at a
/// time.
class PANEDECK_API statistic_t {
public:
    /// The user's statistics, null if there is no folder for the user's settings.
    static std::shared_ptr<statistic_t> get();

    explicit statistic_t(bk2::sptr_t<settingshub2::IPropertyStorage> storage);

    consent_t consent() const;

    /// Keeps the user's answer; a refusal deletes what was counted.
    bk2::error_code_t set_consent(bool is_given);

    /// Counts one use of a feature. Without consent, for a name that is empty or longer than 200 bytes, and
    /// for the 1,001st name nothing is counted, which is no failure.
    bk2::error_code_t count_use(const std::string& feature);

private:
    bk2::sptr_t<settingshub2::IPropertyStorage> m_storage;
};

} // namespace usagestat1
