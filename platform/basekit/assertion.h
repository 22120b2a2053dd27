#pragma once

#include "basekit/api.h"
#include "basekit/error_code.h"

#include <string_view>

namespace bk2 {

/// Where a precondition stands, filled by the macros below.
struct assertion_site_t {
    const char* condition;
    const char* file;
    int line;
    const char* function;
};

/// A precondition without a failure kind did not hold: logs at error level "<condition>, at file:
/// <file>:<line>" and, if the environment variable `panedeck_ERROR_HANDLING` contains "assert", calls the
/// debug assertion.
PANEDECK_API void report_assertion(const assertion_site_t& site);

/// A precondition did not hold: logs at error level "<kind>:<message>, at file: <file>:<line>", calls the
/// debug assertion if asked to as above, and gives the failure to return.
PANEDECK_API error_code_t raise_assertion(const assertion_site_t& site, std::string_view kind,
                                          std::string_view message);

/// What the debug assertion does with its text; null puts the default back, which writes the text to standard
/// error and goes on. For tests and for hosts with a debugger of their own. Returns the handler that was set
/// before.
using assertion_handler_t = void (*)(const char* text);
PANEDECK_API assertion_handler_t set_assertion_handler(assertion_handler_t handler);

} // namespace bk2

// The function's full signature, as the text of a debug assertion shows it.
#define PANEDECK_ASSERTION_SITE(text)                                                                        \
    ::bk2::assertion_site_t {                                                                                \
        text, __FILE__, __LINE__, __PRETTY_FUNCTION__                                                        \
    }

/// Logs if `condition` is false and goes on. `text` is the condition as it is reported.
#define PANEDECK_EXPECT(condition, text)                                                                     \
    do {                                                                                                     \
        if (!(condition)) ::bk2::report_assertion(PANEDECK_ASSERTION_SITE(text));                            \
    } while (false)

/// Logs and returns a failure from the enclosing function if `condition` is false.
#define PANEDECK_REQUIRE(condition, text, kind, message)                                                     \
    do {                                                                                                     \
        if (!(condition)) return ::bk2::raise_assertion(PANEDECK_ASSERTION_SITE(text), kind, message);       \
    } while (false)

/// Logs the failure of `error` and returns it from the enclosing function: for a callee's failure that is
/// passed on.
#define PANEDECK_PASS_ON(error)                                                                              \
    do {                                                                                                     \
        if (const ::bk2::error_code_t& passed_on = (error); passed_on.failed()) {                            \
            ::bk2::report_failure(PANEDECK_ASSERTION_SITE(#error), passed_on);                               \
            return passed_on;                                                                                \
        }                                                                                                    \
    } while (false)

namespace bk2 {

/// Logs a callee's failure through the assertion path. The cancelled error is no fault and stays silent.
PANEDECK_API void report_failure(const assertion_site_t& site, const error_code_t& error);

} // namespace bk2
