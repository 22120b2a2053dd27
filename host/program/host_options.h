#pragma once

#include "program/server_address.h"

#include <string>
#include <variant>
#include <vector>

namespace panedeck::host {

/// The command line `--server 127.0.0.1:PORT [--role TEXT] [--token TEXT] [--user-dir DIR] [--config-dir DIR]
/// [--export-dir DIR] RESULT [RESULT2]`. Without `--token` the environment variable `PANEDECK_TOKEN` gives
/// the token.
struct host_options_t {
    server_address_t server;
    std::string role = "host";
    std::string token;                ///< handed over in the handshake; empty: none
    std::string userDirectory;        ///< empty: the user's default
    std::string configDirectory;      ///< empty: the installed one
    std::string exportDirectory;      ///< shared with the GUI server for downloads; empty: none
    std::vector<std::string> results; ///< one or two: result directories or profile files
};

/// A program that ends at the command line: what to print and the exit code (0 for help, 2 for bad usage).
struct early_exit_t {
    std::string text;
    int exitCode = 0;
};

/// Reads the command line; prints nothing.
std::variant<host_options_t, early_exit_t> parseHostOptions(int argc, const char* const* argv);

} // namespace panedeck::host
