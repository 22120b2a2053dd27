#pragma once

#include "basekit/api.h"
#include "basekit/error_code.h"
#include "import/import_limits.h"
#include "import/import_report.h"
#include "notifykit/progress.h"
#include "store/profile_data.h"

#include <string>
#include <string_view>

namespace panedeck::engine {

/// Reads a profile of any known format, plain or packed with gzip, and tells the format from its content.
///
/// A damaged record costs that record and is counted in `report`. A file that is damaged as a whole, or is no
/// profile, is a failure with the message `FILE:LINE: what is wrong`, without a line if it cannot be opened.
/// A cancelled import is `error_code_t::canceled()`; the progress object is polled at least every 100 ms,
/// also while a pipe waits for its writer, and may be null. Unless all went well `profile` is left empty.
/// Never throws.
PANEDECK_API bk2::error_code_t importProfile(const std::string& path, ProfileData& profile,
                                             ImportReport& report, notifykit2::IProgress* progress);

/// The same for what an open descriptor gives, standard input for example, which stays open and goes by the
/// name `name` in failures.
PANEDECK_API bk2::error_code_t importProfileFrom(int descriptor, const std::string& name,
                                                 ProfileData& profile, ImportReport& report,
                                                 notifykit2::IProgress* progress);

/// The same for bytes in memory, which go by the name `name` in failures.
PANEDECK_API bk2::error_code_t importProfileBytes(std::string_view bytes, const std::string& name,
                                                  ProfileData& profile, ImportReport& report,
                                                  notifykit2::IProgress* progress = nullptr,
                                                  const ImportLimits& limits = {});

} // namespace panedeck::engine
