#pragma once

// Needed by everything that logs: the assertion path, the transport, tasks.

#include "basekit/api.h"

#include <string>
#include <string_view>

namespace logkit1 {

/// Log levels in use, with the numbers of log4cplus.
enum class level_t : int { trace = 0, info = 20000, warning = 30000, error = 40000 };

/// The name of the one logger: "panedeck".
PANEDECK_API const char* component_logger_name();

/// Sets the logger up: from the properties file that the environment variable `panedeck_LOG_CONFIG` names,
/// else warnings and errors to standard error. Called once by a program before it starts threads; without the
/// call the first use does it.
PANEDECK_API void configureComponentLogger();

/// The lowest level that is logged at present. Ask before costly text is built.
PANEDECK_API level_t getUnitLogLevel();

/// Sets that level.
PANEDECK_API void setUnitLogLevel(level_t level);

PANEDECK_API bool is_enabled_for(level_t level);

/// Writes one line, if the level is enabled. Line breaks in `text` are kept, what could drive a terminal is
/// escaped. A line that cannot be written is
/// lost, and no other. Safe from any thread.
PANEDECK_API void log(level_t level, std::string_view text);

/// Sees every line that is logged, besides the normal way; null takes it away. For tests; not to be changed
/// while other threads log.
using log_observer_t = void (*)(level_t level, std::string_view text);
PANEDECK_API void set_log_observer(log_observer_t observer);

} // namespace logkit1
