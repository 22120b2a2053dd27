#include "command_line.h"

#include "exit_code.h"

#include <CLI/CLI.hpp>

#include <sstream>

namespace panedeck::cli {

namespace {

void add_folders(CLI::App& command, SessionParameters& session) {
    command.add_option("--config-dir", session.config_directory, "Folder of the product's configuration");
    command.add_option("--web", session.web_directory, "Folder of the web page");
}

void add_page_options(CLI::App& command, OpenCommand& open) {
    constexpr unsigned highest_port = 65535;
    command.add_option("--port", open.session.port, "Port of the page's address; a free one by default")
        ->check(CLI::Range(1u, highest_port));
    command.add_flag_callback(
        "--no-browser", [&open] { open.opens_browser = false; }, "Only print the page's address");
}

CLI::App* add_import(CLI::App& program, ImportCommand& command) {
    CLI::App* import = program.add_subcommand("import", "Make result directories from profile files");
    import
        ->add_option("INPUT", command.inputs,
                     "Profile file (folded stacks, perf script text, .cpuprofile); - is standard input")
        ->required();
    import->add_option("--out", command.out_directory, "Folder for the result directories")->required();
    return import;
}

CLI::App* add_open(CLI::App& program, OpenCommand& command) {
    CLI::App* open = program.add_subcommand("open", "Show one result, or two to compare, in the browser");
    open->add_option("FILE", command.session.results,
                     "Result directory or profile file; the bundled sample by default")
        ->expected(0, 2);
    add_folders(*open, command.session);
    add_page_options(*open, command);
    return open;
}

CLI::App* add_compare(CLI::App& program, OpenCommand& command) {
    CLI::App* compare = program.add_subcommand("compare", "Show two results beside each other");
    compare->add_option("FILE", command.session.results, "Result directory or profile file")
        ->expected(2)
        ->required();
    add_folders(*compare, command.session);
    add_page_options(*compare, command);
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
    check
        ->add_option("FILE", command.session.results,
                     "Result directory or profile file; the bundled sample by default")
        ->expected(0, 2);
    add_folders(*check, command.session);
    check->add_option("--timeout", command.timeout_seconds, "Seconds to wait at most")->capture_default_str();
    return check;
}

/// The first argument that nothing takes.
std::string unexpected(const CLI::App& program) {
    const std::vector<std::string> left = program.remaining(true);
    const std::string argument = left.empty() ? "" : left.front();
    if (argument.starts_with('-')) return "unknown option: " + argument;
    return (program.get_subcommands().empty() ? "unknown command: " : "unexpected argument: ") + argument;
}

/// The library answers with a code per kind of error; here every one is bad usage, and help is none.
NoCommand answer_to(const CLI::App& program, const CLI::ParseError& error) {
    constexpr char hint[] = "\nRun with --help for more information.\n";
    std::ostringstream text;
    if (program.exit(error, text, text) == 0) return {exit_done, text.str()};
    if (dynamic_cast<const CLI::ExtrasError*>(&error)) text.str(unexpected(program) + hint);
    return {exit_bad_usage, "panedeck: " + text.str()};
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
    program.require_subcommand(0, 1);
    program.fallthrough();
    program.set_version_flag("--version", "panedeck " PANEDECK_VERSION);
    program.add_option("--user-dir", line.user_directory, "Folder of the user's settings");
    const CLI::App* import_command = add_import(program, import);
    const CLI::App* open_command = add_open(program, open);
    const CLI::App* compare_command = add_compare(program, compare);
    const CLI::App* list_command = add_list(program, list);
    const CLI::App* check_command = add_check(program, check);
    try {
        program.parse(count, arguments);
        if (program.get_subcommands().empty())
            throw CLI::RequiredError("a command (import, open, compare, list, check)");
    } catch (const CLI::ParseError& error) {
        line.command = answer_to(program, error);
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
