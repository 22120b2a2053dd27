#include "logkit/component_logger.h"

#include "basekit/environment.h"
#include "portkit/terminal_text.h"

#include <log4cplus/config.hxx>
#include <log4cplus/configurator.h>
#include <log4cplus/consoleappender.h>
#include <log4cplus/initializer.h>
#include <log4cplus/layout.h>
#include <log4cplus/logger.h>

#include <atomic>
#include <iostream>
#include <memory>
#include <mutex>
#include <string>

namespace logkit1 {

namespace {

std::once_flag configured;
// A copy of the logger's level, so that asking costs one load.
std::atomic<int> lowest_level{static_cast<int>(level_t::warning)};
std::atomic<log_observer_t> log_observer{nullptr};
bool uses_standard_output = false; // set while the logger is configured
std::mutex writing;                // one line is written, and what it did to the streams mended, at a time

log4cplus::Logger& component_logger() {
    // Never destroyed: other objects may log while the program ends.
    static auto* const logger =
        new log4cplus::Logger(log4cplus::Logger::getInstance(component_logger_name()));
    return *logger;
}

void log_to_standard_error() {
    log4cplus::SharedAppenderPtr appender(new log4cplus::ConsoleAppender(true, true));
    appender->setLayout(std::make_unique<log4cplus::PatternLayout>("%D{%Y-%m-%d %H:%M:%S.%q} %p [%t] %m%n"));
    component_logger().addAppender(appender);
    component_logger().setAdditivity(false);
    component_logger().setLogLevel(log4cplus::WARN_LOG_LEVEL);
}

bool is_appender(const std::string& property) {
    constexpr std::string_view prefix = "log4cplus.appender.";
    return property.starts_with(prefix) && property.find('.', prefix.size()) == property.npos;
}

// A file that could not be written is opened again for the next line, and not a second of lines later.
void log_as_configured(const std::string& file) {
    log4cplus::helpers::Properties properties(file);
    for (const std::string& name : properties.propertyNames())
        if (is_appender(name) && !properties.exists(name + ".ReopenDelay"))
            properties.setProperty(name + ".ReopenDelay", "0");
    log4cplus::PropertyConfigurator(properties).configure();
    uses_standard_output = true;
}

// A stream that failed once takes nothing any more, but no more than the line that failed is to be lost.
void revive_standard_streams() {
    if (!std::cerr) std::cerr.clear();
    if (uses_standard_output && !std::cout) std::cout.clear();
}

void configure() {
    log4cplus::initialize();
    const std::string file = bk2::get_environ_value(std::string(component_logger_name()) + "_LOG_CONFIG");
    if (file.empty())
        log_to_standard_error();
    else
        log_as_configured(file);
    lowest_level = component_logger().getChainedLogLevel();
}

} // namespace

const char* component_logger_name() {
    return "panedeck";
}

void configureComponentLogger() {
    std::call_once(configured, configure);
}

level_t getUnitLogLevel() {
    configureComponentLogger();
    return static_cast<level_t>(lowest_level.load(std::memory_order_relaxed));
}

void setUnitLogLevel(level_t level) {
    configureComponentLogger();
    component_logger().setLogLevel(static_cast<int>(level));
    lowest_level = static_cast<int>(level);
}

bool is_enabled_for(level_t level) {
    return level >= getUnitLogLevel();
}

void log(level_t level, std::string_view text) {
    if (!is_enabled_for(level)) return;
    if (const log_observer_t observer = log_observer.load()) observer(level, text);
    const std::lock_guard lock(writing);
    component_logger().forcedLog(static_cast<int>(level),
                                 portkit2::terminal_text(text, portkit2::line_breaks_t::kept));
    revive_standard_streams();
}

void set_log_observer(log_observer_t observer) {
    log_observer = observer;
}

} // namespace logkit1
