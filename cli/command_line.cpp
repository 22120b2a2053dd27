#include "command_line.h"

#include "exit_code.h"

#include <CLI/CLI.hpp>

#include <algorithm>

namespace panedeck::cli {

namespace {

void add_session_options(CLI::App& command, SessionParameters& session, int fewest, int most) {
    command
        .add_option("FILE", session.results,
                    "Result directory or profile file; the bundled sample by default")
        ->expected(fewest, most)
        ->required(fewest > 0);
    command.add_option("--config-dir", session.config_directory, "Folder of the product's configuration");
    command.add_option("--web", session.web_directory, "Folder of the web page");
}

CLI::App* add_import(CLI::App& program, ImportCommand& command) {
    CLI::App* import = program.add_subcommand("import", "Make result directories from profile files");
    import->add_option("INPUT", command.inputs, "Profile file: folded stacks, perf script text, .cpuprofile")
        ->required();
    import->add_option("--out", command.out_directory, "Folder for the result directories")->required();
    return import;
}

CLI::App* add_open(CLI::App& program, OpenCommand& command) {
    CLI::App* open = program.add_subcommand("open", "Show one result, or two to compare, in the browser");
    add_session_options(*open, command.session, 0, 2);
    open->add_flag("!--no-browser", command.opens_browser, "Only print the page's address");
    return open;
}

CLI::App* add_compare(CLI::App& program, OpenCommand& command) {
    CLI::App* compare = program.add_subcommand("compare", "Show two results beside each other");
    add_session_options(*compare, command.session, 2, 2);
    compare->add_flag("!--no-browser", command.opens_browser, "Only print the page's address");
    return compare;
}

CLI::App* add_list(CLI::App& program, ListCommand& command) {
    CLI::App* list = program.add_subcommand("list", "List the results of a project or another folder");
    list->add_option("FOLDER", command.folder, "The folder; the current one by default");
    return list;
}

CLI::App* add_check(CLI::App& program, CheckCommand& command) {
    CLI::App* check =
        program.add_subcommand("check", "Show the first rows of a profile as text, over the whole road");
    add_session_options(*check, command.session, 0, 2);
    check->add_option("--timeout", command.timeout_seconds, "Seconds to wait at most")->capture_default_str();
    return check;
}

/// The library answers with a code per kind of error; here every one is bad usage, and help is none.
int reported(const CLI::App& program, const CLI::ParseError& error) {
    return program.exit(error) == 0 ? exit_done : exit_bad_usage;
}

} // namespace

CommandLine read_command_line(int count, const char* const* arguments) {
    CommandLine line;
    ImportCommand import;
    OpenCommand open;
    OpenCommand compare;
    ListCommand list;
    CheckCommand check;

    CLI::App program("Shows the profiles of programs in the browser.", "panedeck");
    program.require_subcommand(1);
    program.fallthrough();
    program.add_option("--user-dir", line.user_directory, "Folder of the user's settings");
    const CLI::App* import_command = add_import(program, import);
    const CLI::App* open_command = add_open(program, open);
    const CLI::App* compare_command = add_compare(program, compare);
    const CLI::App* list_command = add_list(program, list);
    const CLI::App* check_command = add_check(program, check);
    try {
        program.parse(count, arguments);
    } catch (const CLI::ParseError& error) {
        line.command = NoCommand{reported(program, error)};
        return line;
    }
    for (SessionParameters* session : {&open.session, &compare.session, &check.session}) {
        session->user_directory = line.user_directory;
    }
    if (*import_command) line.command = import;
    if (*open_command) line.command = open;
    if (*compare_command) line.command = compare;
    if (*list_command) line.command = list;
    if (*check_command) line.command = check;
    return line;
}

} // namespace panedeck::cli
