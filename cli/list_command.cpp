#include "commands.h"
#include "output.h"
#include "portkit/terminal_text.h"
#include "store/result_directory.h"

#include <filesystem>

namespace panedeck::cli {

namespace {

std::string indented(const std::string& text) {
    return "  " + portkit2::terminal_text(text) + "\n";
}

/// What the result says of itself, in lines; why it cannot, if it is damaged.
std::string facts_of(const std::string& result) {
    engine::ResultFacts facts;
    if (const auto read = engine::readResultFacts(result, facts); read.failed())
        return indented(std::string(read.message()));
    std::string text = facts.source.empty() ? "" : indented(facts.source);
    for (const std::string& message : facts.notes.messages()) {
        text += indented(message);
    }
    return text;
}

} // namespace

bk2::error_code_t run(const ListCommand& command) {
    std::error_code error;
    if (!std::filesystem::is_directory(command.folder, error)) {
        return bk2::error_code_t::failure(command.folder + ": no folder");
    }
    std::string text;
    if (const std::string project = engine::findProjectFile(command.folder); !project.empty()) {
        text += "project " + output_path(std::filesystem::path(project).stem().string()) + "\n";
    }
    for (const std::string& result : engine::listResults(command.folder)) {
        text += output_path(result) + "\n" + facts_of(result);
    }
    return write_output(text);
}

} // namespace panedeck::cli
