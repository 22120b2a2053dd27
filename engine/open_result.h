#pragma once

#include "basekit/api.h"
#include "basekit/error_code.h"
#include "basekit/sptr.h"
#include "dataface/input_data.h"
#include "notifykit/progress.h"
#include "store/profile_data.h"
#include "store/result_directory.h"

#include <string>

namespace panedeck::engine {

/// Opens a result directory. The input stays usable when the directory is removed afterwards; its filter
/// registry is found with `bk2::interface_cast<dataface1::IFilterRegistry>`. Fails as `readResult` does;
/// `input` is null then. Also makes this engine the provider of `slicerkit1::ITableTreeQuery`.
PANEDECK_API bk2::error_code_t openResult(const std::string& directory, notifykit2::IProgress* progress,
                                          bk2::sptr_t<dataface1::IInputData>& input);

/// The same for a profile in memory, which is checked as if it came from a file.
PANEDECK_API bk2::error_code_t openProfile(ProfileData data, const ResultFacts& facts,
                                           bk2::sptr_t<dataface1::IInputData>& input);

/// The query library for one open result or two (`second` null for one). `config_directory` is the folder of
/// installed data whose `queries/*.xml` give names, units, formats and the primary metric; "" or a folder
/// without such files leaves the built-in behaviour. Fails, naming the file, if one of these files cannot be
/// read as XML.
PANEDECK_API bk2::error_code_t createQueryLibrary(const bk2::sptr_t<dataface1::IInputData>& first,
                                                  const bk2::sptr_t<dataface1::IInputData>& second,
                                                  const std::string& config_directory,
                                                  bk2::sptr_t<dataface1::IQueryLibrary>& library);

} // namespace panedeck::engine
