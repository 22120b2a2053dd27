#pragma once

#include "session.h"

#include <string>
#include <variant>
#include <vector>

namespace panedeck::cli {

struct ImportCommand {
    std::vector<std::string> inputs;
    std::string out_directory;
};

struct OpenCommand {
    SessionParameters session;
    bool opens_browser = true;
};

struct ListCommand {
    std::string folder = ".";
};

struct CheckCommand {
    SessionParameters session;
    unsigned timeout_seconds = 600;
};

/// Nothing to run: help or the version was asked for, or the usage was wrong.
struct NoCommand {
    int exit_code = 0;
    std::string text; ///< several lines; for standard output if the exit code is 0, else for standard error
};

/// What the user asked for, with the settings that hold for every command.
struct CommandLine {
    std::variant<NoCommand, ImportCommand, OpenCommand, ListCommand, CheckCommand> command;
    std::string user_directory;
};

/// Reads the command line; prints nothing. Gives `NoCommand` for help and for what is wrong, which it names.
CommandLine read_command_line(int count, const char* const* arguments);

} // namespace panedeck::cli
