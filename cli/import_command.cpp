#include "commands.h"
#include "import/import_profile.h"
#include "options/iresult_options.h"
#include "output.h"
#include "portkit/terminal_text.h"
#include "progress_display.h"
#include "resultshelf/result_directory_manager.h"
#include "stop_signals.h"
#include "store/result_directory.h"

#include <filesystem>
#include <unistd.h>

namespace panedeck::cli {

namespace {

/// The abbreviation of the analysis type that importers make: hotspots.
constexpr char analysis_type[] = "hs";
constexpr char standard_input[] = "-";

bk2::error_code_t read_profile(const std::string& input, engine::ProfileData& profile,
                               engine::ImportReport& report, notifykit2::IProgress* progress) {
    if (input != standard_input) return engine::importProfile(input, profile, report, progress);
    return engine::importProfileFrom(STDIN_FILENO, "standard input", profile, report, progress);
}

bk2::error_code_t store(const engine::ProfileData& profile, const engine::ResultFacts& facts,
                        const std::string& directory, notifykit2::IProgress* progress) {
    const auto written = engine::writeResult(profile, directory, facts, progress);
    std::error_code error;
    if (written.failed()) std::filesystem::remove(directory, error); // the writer leaves it empty
    return written;
}

engine::ResultFacts facts_of(const std::string& input, const std::string& directory,
                             const engine::ImportReport& report) {
    const std::string source = input == standard_input ? "standard input" : input;
    return {std::filesystem::path(directory).filename().string(), source, report.format, report.taken,
            report};
}

/// The result's path is alone on its line, for programs; what follows is for people.
bk2::error_code_t print_outcome(const std::string& directory, const engine::ResultFacts& facts) {
    std::string text = output_path(directory) + "\n  " + portkit2::terminal_text(facts.source) + "\n";
    for (const std::string& message : facts.notes.messages()) {
        text += "  " + message + "\n";
    }
    return write_output(text);
}

bk2::error_code_t import_one(const std::string& input, const std::string& out_directory,
                             ProgressDisplay& progress) {
    engine::ProfileData profile;
    engine::ImportReport report;
    const auto imported = read_profile(input, profile, report, &progress);
    if (imported.failed()) return imported;

    std::string directory;
    const auto pattern = IResultOptions::load()->getResultNameTemplate();
    const auto made = resultshelf2::ResultDirectoryManager::createNextResultDirectory(
        out_directory, pattern, analysis_type, directory);
    if (made.failed()) return made;
    const engine::ResultFacts facts = facts_of(input, directory, report);
    const auto stored = store(profile, facts, directory, &progress);
    if (stored.failed()) return stored;
    progress.finish();
    return print_outcome(directory, facts);
}

} // namespace

bk2::error_code_t run(const ImportCommand& command) {
    StopSignals signals;
    const auto progress = bk2::make_sptr<ProgressDisplay>([&signals] { return signals.is_stopped(); });
    engine::removeAbandonedResults(command.out_directory);
    bk2::error_code_t outcome;
    for (const std::string& input : command.inputs) {
        const auto imported = import_one(input, command.out_directory, *progress);
        progress->finish();
        if (imported.is_canceled()) return imported;
        if (imported.succeeded()) continue;
        write_complaint(imported.message());
        outcome = bk2::error_code_t::failure("");
    }
    return outcome;
}

} // namespace panedeck::cli
