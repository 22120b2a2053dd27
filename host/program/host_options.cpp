#include "program/host_options.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <utility>

namespace panedeck::host {

namespace {

constexpr int badUsage = 2;

std::string checkServer(const std::string& text) {
    if (parseServerAddress(text)) return {};
    return "not a numeric address with a port, such as 127.0.0.1:4242: " + text;
}

/// One with a line break could not be kept out of logs.
std::string checkToken(const std::string& text) {
    const auto isControl = [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; };
    return std::any_of(text.begin(), text.end(), isControl) ? "a token has no control characters" : "";
}

std::string checkPath(const std::string& text) {
    return text.empty() ? "an empty path names no result" : "";
}

} // namespace

std::variant<host_options_t, early_exit_t> parseHostOptions(int argc, const char* const* argv) {
    host_options_t options;
    std::string server;
    std::string results[2];
    CLI::App app("Opens one or two profiling results and serves the panes of a GUI server.", "panedeck-host");
    app.add_option("--server", server, "Address and port of the GUI server")->required()->check(checkServer);
    app.add_option("--role", options.role, "How the host introduces itself")->capture_default_str();
    // Other users of the machine can read arguments, but not the environment.
    app.add_option("--token", options.token, "The secret that the GUI server asks for")
        ->envname("PANEDECK_TOKEN")
        ->check(checkToken);
    app.add_option("--user-dir", options.userDirectory, "Folder of the user's settings");
    app.add_option("--config-dir", options.configDirectory, "Folder of the product's configuration");
    app.add_option("--export-dir", options.exportDirectory,
                   "Folder of this user alone, shared with the GUI server for downloads");
    app.add_option("RESULT", results[0], "Result directory or profile file")->required()->check(checkPath);
    app.add_option("RESULT2", results[1], "A second one, to be compared with the first")->check(checkPath);
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp&) {
        return early_exit_t{app.help(), 0};
    } catch (const CLI::ParseError& error) {
        return early_exit_t{std::string("panedeck-host: ") + error.what(), badUsage};
    }
    for (auto& result : results)
        if (!result.empty()) options.results.push_back(std::move(result));
    options.server = *parseServerAddress(server);
    return options;
}

} // namespace panedeck::host
