#include "basekit/broken_pipes.h"
#include "command_line.h"
#include "commands.h"
#include "exit_code.h"
#include "settingshub/product_locations.h"

#include <cstdio>
#include <exception>

namespace {

using namespace panedeck::cli;

int finish(const bk2::error_code_t& result) {
    if (result.succeeded()) return exit_done;
    // An import's failure begins with the file and the line, as editors like it: nothing goes ahead of it.
    const std::string text(result.is_canceled() ? "stopped" : result.message());
    if (!text.empty()) std::fprintf(stderr, "%s\n", text.c_str());
    return exit_failed;
}

int run_command(const CommandLine& line) {
    settingshub2::IProductLocations::get()->setUserDirectory(line.user_directory);
    return std::visit(
        [](const auto& command) {
            if constexpr (std::is_same_v<std::decay_t<decltype(command)>, NoCommand>)
                return command.exit_code;
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
        std::fprintf(stderr, "panedeck: %s\n", error.what());
        return exit_failed;
    }
}
