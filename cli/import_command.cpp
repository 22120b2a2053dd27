#include "commands.h"
#include "import/import_profile.h"
#include "options/iresult_options.h"
#include "progress_display.h"
#include "resultshelf/result_directory_manager.h"
#include "stop_signals.h"
#include "store/result_directory.h"

#include <cstdio>
#include <filesystem>

namespace panedeck::cli {

namespace {

/// The abbreviation of the analysis type that importers make: hotspots.
constexpr char analysis_type[] = "hs";

bk2::error_code_t store(const engine::ProfileData& profile, const engine::ResultFacts& facts,
                        const std::string& directory, notifykit2::IProgress* progress) {
    const auto written = engine::writeResult(profile, directory, facts, progress);
    std::error_code error;
    if (written.failed()) std::filesystem::remove(directory, error); // the writer leaves it empty
    return written;
}

engine::ResultFacts facts_of(const std::string& input, const std::string& directory,
                             const engine::ImportReport& report) {
    return {std::filesystem::path(directory).filename().string(), input, report.format};
}

void print_outcome(const std::string& directory, const engine::ImportReport& report) {
    std::printf("%s\n", directory.c_str());
    for (const std::string& message : report.messages()) {
        std::printf("  %s\n", message.c_str());
    }
    std::fflush(stdout);
}

bk2::error_code_t import_one(const std::string& input, const std::string& out_directory,
                             ProgressDisplay& progress) {
    engine::ProfileData profile;
    engine::ImportReport report;
    const auto imported = engine::importProfile(input, profile, report, &progress);
    if (imported.failed()) return imported;

    std::string directory;
    const auto pattern = IResultOptions::load()->getResultNameTemplate();
    const auto made = resultshelf2::ResultDirectoryManager::createNextResultDirectory(
        out_directory, pattern, analysis_type, directory);
    if (made.failed()) return made;
    const auto stored = store(profile, facts_of(input, directory, report), directory, &progress);
    if (stored.failed()) return stored;
    progress.finish();
    print_outcome(directory, report);
    return bk2::error_code_t::success();
}

} // namespace

bk2::error_code_t run(const ImportCommand& command) {
    StopSignals signals;
    const auto progress = bk2::make_sptr<ProgressDisplay>([&signals] { return signals.is_stopped(); });
    for (const std::string& input : command.inputs) {
        const auto imported = import_one(input, command.out_directory, *progress);
        progress->finish();
        if (imported.failed()) return imported;
    }
    return bk2::error_code_t::success();
}

} // namespace panedeck::cli
