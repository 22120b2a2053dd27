#include "basekit/assertion.h"

#include "basekit/environment.h"
#include "logkit/component_logger.h"

#include <atomic>
#include <cstdio>
#include <string>

namespace bk2 {

namespace {

/// Goes on: most preconditions are about what a request holds, and no request may end the process.
void tell_of_assertion(const char* text) {
    std::fputs(text, stderr);
}

std::atomic<assertion_handler_t> assertion_handler{tell_of_assertion};

bool wants_debug_assertions() {
    static const bool wants =
        get_environ_value(std::string(logkit1::component_logger_name()) + "_ERROR_HANDLING").find("assert") !=
        std::string::npos;
    return wants;
}

void log_and_tell(const assertion_site_t& site, const std::string& what) {
    const std::string place = std::string(site.file) + ":" + std::to_string(site.line);
    logkit1::log(logkit1::level_t::error, what + ", at file: " + place);
    if (!wants_debug_assertions()) return;
    const std::string text = std::string(site.condition) + "\n" + site.file + "(" +
                             std::to_string(site.line) + "): " + site.function + "\n";
    assertion_handler.load()(text.c_str());
}

} // namespace

void report_assertion(const assertion_site_t& site) {
    log_and_tell(site, site.condition);
}

error_code_t raise_assertion(const assertion_site_t& site, std::string_view kind, std::string_view message) {
    log_and_tell(site, std::string(kind) + ":" + std::string(message));
    return error_code_t::raise(kind, message, site.function, site.line);
}

void report_failure(const assertion_site_t& site, const error_code_t& error) {
    if (error.is_canceled()) return;
    log_and_tell(site, std::string(error.kind()) + ":" + std::string(error.message()));
}

assertion_handler_t set_assertion_handler(assertion_handler_t handler) {
    return assertion_handler.exchange(handler ? handler : tell_of_assertion);
}

} // namespace bk2
