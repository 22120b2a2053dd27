#include "basekit/broken_pipes.h"
#include "portkit/terminal_text.h"
#include "program/host_options.h"
#include "program/run_host.h"

#include <cstdio>
#include <variant>

int main(int argc, char** argv) {
    bk2::ignore_broken_pipes();
    const auto parsed = panedeck::host::parseHostOptions(argc, argv);
    if (const auto* exit = std::get_if<panedeck::host::early_exit_t>(&parsed)) {
        const bool isHelp = exit->exitCode == 0;
        const auto text = portkit2::terminal_text(exit->text, isHelp ? portkit2::line_breaks_t::kept
                                                                     : portkit2::line_breaks_t::escaped);
        std::fprintf(isHelp ? stdout : stderr, "%s\n", text.c_str());
        return exit->exitCode;
    }
    return panedeck::host::runHost(std::get<panedeck::host::host_options_t>(parsed));
}
