#pragma once

#include <cstdlib>
#include <optional>
#include <string>

namespace panedeck::tests {

/// Puts an environment variable back to what it was.
class EnvironmentGuard {
public:
    explicit EnvironmentGuard(const char* name) : m_name(name) {
        if (const char* value = std::getenv(name)) m_value = value;
    }
    ~EnvironmentGuard() {
        if (m_value)
            ::setenv(m_name, m_value->c_str(), 1);
        else
            ::unsetenv(m_name);
    }
    EnvironmentGuard(const EnvironmentGuard&) = delete;
    EnvironmentGuard& operator=(const EnvironmentGuard&) = delete;

private:
    const char* m_name;
    std::optional<std::string> m_value;
};

} // namespace panedeck::tests
