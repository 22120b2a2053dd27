#include "logkit/component_logger.h"

#include "basekit/environment.h"

#include <log4cplus/config.hxx>
#include <log4cplus/configurator.h>
#include <log4cplus/consoleappender.h>
#include <log4cplus/initializer.h>
#include <log4cplus/layout.h>
#include <log4cplus/logger.h>

#include <atomic>
#include <memory>
#include <mutex>

namespace logkit1 {

namespace {

std::once_flag configured;
// A copy of the logger's level, so that asking costs one load.
std::atomic<int> lowest_level{static_cast<int>(level_t::warning)};
std::atomic<log_observer_t> log_observer{nullptr};

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

void configure() {
    log4cplus::initialize();
    const std::string file = bk2::get_environ_value(std::string(component_logger_name()) + "_LOG_CONFIG");
    if (file.empty())
        log_to_standard_error();
    else
        log4cplus::PropertyConfigurator::doConfigure(file);
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
    component_logger().forcedLog(static_cast<int>(level), std::string(text));
}

void set_log_observer(log_observer_t observer) {
    log_observer = observer;
}

} // namespace logkit1
