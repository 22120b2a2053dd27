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

/// Nothing to run: help was shown or the usage was wrong, and the text is already printed.
struct NoCommand {
    int exit_code = 0;
};

/// What the user asked for, with the settings that hold for every command.
struct CommandLine {
    std::variant<NoCommand, ImportCommand, OpenCommand, ListCommand, CheckCommand> command;
    std::string user_directory;
};

/// Reads the command line. Prints help or what is wrong with it, and then gives `NoCommand`.
CommandLine read_command_line(int count, const char* const* arguments);

} // namespace panedeck::cli
