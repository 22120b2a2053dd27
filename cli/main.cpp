#include "basekit/broken_pipes.h"
#include "command_line.h"
#include "commands.h"
#include "exit_code.h"
#include "output.h"
#include "portkit/terminal_text.h"
#include "settingshub/product_locations.h"

#include <cstdio>
#include <exception>

namespace {

using namespace panedeck::cli;

int finish(const bk2::error_code_t& result) {
    if (result.succeeded()) return exit_done;
    // An import's failure begins with the file and the line, as editors like it: nothing goes ahead of it.
    write_complaint(result.is_canceled() ? "stopped" : result.message());
    return exit_failed;
}

int finish(const NoCommand& nothing) {
    if (nothing.exit_code == exit_done) return finish(write_output(nothing.text));
    std::fputs(portkit2::terminal_text(nothing.text, portkit2::line_breaks_t::kept).c_str(), stderr);
    return nothing.exit_code;
}

int run_command(const CommandLine& line) {
    settingshub2::IProductLocations::get()->setUserDirectory(line.user_directory);
    return std::visit(
        [](const auto& command) {
            if constexpr (std::is_same_v<std::decay_t<decltype(command)>, NoCommand>)
                return finish(command);
            else
                return finish(run(command));
        },
        line.command);
}

} // namespace

int main(int count, char** arguments) {
    bk2::ignore_broken_pipes();
    try {
        return run_command(read_command_line(count, arguments));
    } catch (const std::exception& error) {
        write_complaint(std::string("panedeck: ") + error.what());
        return exit_failed;
    }
}
