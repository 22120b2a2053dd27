#include "output.h"

#include "portkit/terminal_text.h"

#include <cerrno>
#include <cstdio>
#include <system_error>
#include <unistd.h>

namespace panedeck::cli {

bk2::error_code_t write_output(std::string_view text) {
    const bool is_written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
    if (is_written && std::fflush(stdout) == 0) return bk2::error_code_t::success();
    return bk2::error_code_t::failure("standard output: " + std::generic_category().message(errno));
}

std::string output_path(const std::string& path) {
    return ::isatty(STDOUT_FILENO) == 1 ? std::string(portkit2::terminal_text(path)) : path;
}

void write_complaint(std::string_view text) {
    if (!text.empty()) std::fprintf(stderr, "%s\n", portkit2::terminal_text(text).c_str());
}

} // namespace panedeck::cli
