#include "basekit/broken_pipes.h"
#include "logkit/component_logger.h"
#include "portkit/terminal_text.h"
#include "relay_options.h"
#include "relay_server.h"

#include <exception>
#include <iostream>

int main(int argc, char** argv) {
    using namespace panedeck::guiserver;
    bk2::ignore_broken_pipes();
    const ParsedCommandLine parsed = parse_command_line(argc, argv);
    if (!parsed.options) return parsed.exit_code;
    try {
        logkit1::configureComponentLogger();
        RelayServer server(*parsed.options);
        std::cout << "library " << server.library_address() << "\n" << server.url() << std::endl;
        server.run();
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "panedeck-guiserver: " << portkit2::terminal_text(error.what()) << std::endl;
        return 1;
    }
}
