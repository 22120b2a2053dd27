#pragma once

#include "basekit/error_code.h"

#include <chrono>
#include <string>
#include <sys/types.h>
#include <vector>

namespace panedeck::cli {

/// A program that this one started. It is stopped when its owner goes, and by the system should this process
/// be killed. It runs in a process group of its own, so that Ctrl+C reaches only this program, which then
/// stops its children in order.
class ChildProcess {
public:
    ChildProcess() = default;
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /// Starts `arguments[0]` (a path) with the rest as its arguments and the environment that
    /// `child_environment` makes with `variables`. Its standard output comes to `read_line`, its standard
    /// error is this program's, its standard input is empty.
    bk2::error_code_t start(const std::vector<std::string>& arguments,
                            const std::vector<std::string>& variables = {});

    /// The next line of its standard output, without the line end; fails after `patience`, or when the output
    /// ends first.
    bk2::error_code_t read_line(std::string& line, std::chrono::milliseconds patience);
    /// The same, but no line within `patience` is no failure; `has_line` tells whether there is one.
    bk2::error_code_t poll_line(std::string& line, bool& has_line, std::chrono::milliseconds patience);

    /// Whether it still runs. Never waits.
    bool is_running();

    /// How it ended: "exited with 1", "was killed by signal 9". Empty while it runs.
    std::string ending() const;
    /// Its exit code, -1 while it runs or if it was killed.
    int exit_code() const;

    /// Asks it to stop, and kills it if it has not within `patience`.
    void stop(std::chrono::milliseconds patience = std::chrono::seconds(3));

    const std::string& name() const { return m_name; }

private:
    bool wait_until(std::chrono::steady_clock::time_point deadline);

    std::string m_name;
    pid_t m_pid = -1;
    int m_output = -1;
    int m_status = -1;
    std::string m_pending; ///< output that has been read beyond the last line
};

/// The environment of a program that this one starts: its own without `PANEDECK_TOKEN`, and `variables`, each
/// "NAME=VALUE". So a session's secret reaches only who is to have it.
std::vector<std::string> child_environment(const std::vector<std::string>& variables);

/// Starts a program that nobody waits for (a browser), without output. False if it is not on the search path.
bool start_detached(const std::string& program, const std::string& argument);

} // namespace panedeck::cli
