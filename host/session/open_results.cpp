#include "session/open_results.h"

#include "import/import_profile.h"
#include "logkit/component_logger.h"
#include "open_result.h"

#include <filesystem>
#include <utility>

namespace panedeck::host {

namespace {

using input_t = bk2::sptr_t<dataface1::IInputData>;

bk2::error_code_t importFile(const std::string& path, notifykit2::IProgress* progress, input_t& input) {
    engine::ProfileData profile;
    engine::ImportReport report;
    const auto error = engine::importProfile(path, profile, report, progress);
    if (error.failed()) return error;
    for (const auto& message : report.messages())
        logkit1::log(logkit1::level_t::info, path + ": " + message);
    const auto name = std::filesystem::path(path).filename().string();
    return engine::openProfile(std::move(profile), {name, path, report.format, report.taken, report}, input);
}

bk2::error_code_t openOne(const std::string& path, notifykit2::IProgress* progress, input_t& input) {
    std::error_code ignored; // what cannot be looked at is no directory; opening it as a file says why
    const bool isDirectory = std::filesystem::is_directory(path, ignored);
    return isDirectory ? engine::openResult(path, progress, input) : importFile(path, progress, input);
}

} // namespace

bk2::error_code_t openResults(const std::vector<std::string>& paths, const std::string& configDirectory,
                              notifykit2::IProgress* progress, open_results_t& results) {
    results = {};
    open_results_t opened;
    opened.paths = paths;
    input_t* const places[] = {&opened.first, &opened.second};
    for (std::size_t i = 0; i < paths.size() && i < std::size(places); ++i)
        if (const auto error = openOne(paths[i], progress, *places[i]); error.failed()) return error;
    const auto error =
        engine::createQueryLibrary(opened.first, opened.second, configDirectory, opened.library);
    if (error.succeeded()) results = std::move(opened);
    return error;
}

} // namespace panedeck::host
