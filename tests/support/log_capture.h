#pragma once

#include "logkit/component_logger.h"

#include <algorithm>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace panedeck::tests {

/// Keeps the lines that are logged while it lives. One at a time.
class LogCapture {
public:
    /// `level`: the lowest level that is logged meanwhile.
    explicit LogCapture(logkit1::level_t level = logkit1::level_t::error)
        : m_before(logkit1::getUnitLogLevel()) {
        lines().clear();
        logkit1::setUnitLogLevel(level);
        logkit1::set_log_observer([](logkit1::level_t, std::string_view text) {
            std::lock_guard lock(mutex());
            lines().emplace_back(text);
        });
    }
    ~LogCapture() {
        logkit1::set_log_observer(nullptr);
        logkit1::setUnitLogLevel(m_before);
    }

    /// How many lines begin with `text`: for assertions, the condition or "<kind>:<message>".
    static long count(std::string_view text) {
        std::lock_guard lock(mutex());
        return std::count_if(lines().begin(), lines().end(),
                             [&](const std::string& line) { return line.starts_with(text); });
    }

    static std::size_t size() {
        std::lock_guard lock(mutex());
        return lines().size();
    }

private:
    static std::vector<std::string>& lines() {
        static std::vector<std::string> kept;
        return kept;
    }
    static std::mutex& mutex() {
        static std::mutex guard;
        return guard;
    }

    logkit1::level_t m_before;
};

} // namespace panedeck::tests
