#include "child_process.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace panedeck::cli {

namespace {

using std::chrono::steady_clock;

constexpr std::chrono::milliseconds wait_pause{5};
constexpr int exit_code_not_started = 127;

bk2::error_code_t system_failure(const std::string& what, int error) {
    return bk2::error_code_t::failure(what + ": " + std::generic_category().message(error));
}

/// As the calls of the exec family take arguments and environments; made ahead of fork.
std::vector<char*> pointers_to(const std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (const std::string& text : texts) {
        pointers.push_back(const_cast<char*>(text.c_str()));
    }
    pointers.push_back(nullptr);
    return pointers;
}

/// In the new process, ahead of exec: a clean signal state, empty input, a group of its own.
void become_child() {
    sigset_t none;
    sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    ::signal(SIGPIPE, SIG_DFL); // which this program ignores
    ::setpgid(0, 0);
    const int nothing = ::open("/dev/null", O_RDWR);
    ::dup2(nothing, STDIN_FILENO);
}

} // namespace

ChildProcess::~ChildProcess() {
    stop();
    if (m_output >= 0) ::close(m_output);
}

std::vector<std::string> child_environment(const std::vector<std::string>& variables) {
    std::vector<std::string> result;
    for (char** variable = environ; *variable; ++variable) {
        if (!std::string_view(*variable).starts_with("PANEDECK_TOKEN=")) result.emplace_back(*variable);
    }
    result.insert(result.end(), variables.begin(), variables.end());
    return result;
}

bk2::error_code_t ChildProcess::start(const std::vector<std::string>& arguments,
                                      const std::vector<std::string>& variables) {
    m_name = std::filesystem::path(arguments.front()).filename().string();
    if (::access(arguments.front().c_str(), X_OK) != 0) return system_failure(arguments.front(), errno);
    int output[2];
    if (::pipe2(output, O_CLOEXEC) != 0) return system_failure(m_name, errno);
    const std::vector<std::string> environment = child_environment(variables);
    const std::vector<char*> argument_pointers = pointers_to(arguments);
    const std::vector<char*> environment_pointers = pointers_to(environment);
    const pid_t parent = ::getpid();
    m_pid = ::fork();
    if (m_pid == 0) {
        become_child();
        ::dup2(output[1], STDOUT_FILENO);
        ::prctl(PR_SET_PDEATHSIG, SIGTERM);
        // The parent may have gone before the request above.
        if (::getppid() != parent) ::_exit(exit_code_not_started);
        ::execve(argument_pointers.front(), argument_pointers.data(), environment_pointers.data());
        ::_exit(exit_code_not_started);
    }
    const int error = errno;
    ::close(output[1]);
    m_output = output[0];
    return m_pid < 0 ? system_failure(m_name, error) : bk2::error_code_t::success();
}

bk2::error_code_t ChildProcess::read_line(std::string& line, std::chrono::milliseconds patience) {
    bool has_line = false;
    const auto polled = poll_line(line, has_line, patience);
    return polled.failed() || has_line ? polled : bk2::error_code_t::failure(m_name + " says nothing");
}

bk2::error_code_t ChildProcess::poll_line(std::string& line, bool& has_line,
                                          std::chrono::milliseconds patience) {
    const auto deadline = steady_clock::now() + patience;
    for (;;) {
        const auto end = m_pending.find('\n');
        has_line = end != std::string::npos;
        if (has_line) {
            line = m_pending.substr(0, end);
            m_pending.erase(0, end + 1);
            return bk2::error_code_t::success();
        }
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - steady_clock::now()).count();
        pollfd readable{m_output, POLLIN, 0};
        if (left <= 0 || ::poll(&readable, 1, static_cast<int>(left)) == 0)
            return bk2::error_code_t::success();
        char block[4096];
        const ssize_t size = ::read(m_output, block, sizeof block);
        if (size == 0) return bk2::error_code_t::failure(m_name + " ended early");
        if (size < 0 && errno != EINTR) return system_failure(m_name, errno);
        if (size > 0) m_pending.append(block, static_cast<std::size_t>(size));
    }
}

bool ChildProcess::is_running() {
    if (m_pid <= 0) return false;
    if (::waitpid(m_pid, &m_status, WNOHANG) != m_pid) return true;
    m_pid = -1;
    return false;
}

std::string ChildProcess::ending() const {
    if (m_pid > 0) return {};
    if (WIFSIGNALED(m_status)) return "was killed by signal " + std::to_string(WTERMSIG(m_status));
    return "exited with " + std::to_string(WEXITSTATUS(m_status));
}

int ChildProcess::exit_code() const {
    return m_pid < 0 && WIFEXITED(m_status) ? WEXITSTATUS(m_status) : -1;
}

void ChildProcess::stop(std::chrono::milliseconds patience) {
    if (!is_running()) return;
    ::kill(m_pid, SIGTERM);
    if (wait_until(steady_clock::now() + patience)) return;
    ::kill(m_pid, SIGKILL);
    wait_until(steady_clock::time_point::max());
}

bool ChildProcess::wait_until(steady_clock::time_point deadline) {
    while (is_running()) {
        if (steady_clock::now() >= deadline) return false;
        std::this_thread::sleep_for(wait_pause);
    }
    return true;
}

bool start_detached(const std::string& program, const std::string& argument) {
    const std::vector<std::string> arguments{program, argument};
    const std::vector<std::string> environment = child_environment({});
    const std::vector<char*> argument_pointers = pointers_to(arguments);
    const std::vector<char*> environment_pointers = pointers_to(environment);
    int started[2]; // closed by a successful exec, written to by a failed one
    if (::pipe2(started, O_CLOEXEC) != 0) return false;
    const pid_t child = ::fork();
    if (child == 0) {
        become_child();
        ::dup2(STDIN_FILENO, STDOUT_FILENO);
        ::dup2(STDIN_FILENO, STDERR_FILENO);
        // Twice, so that it is no child of this program: nobody will wait for it.
        if (::fork() == 0) {
            ::execvpe(program.c_str(), argument_pointers.data(), environment_pointers.data());
            [[maybe_unused]] const ssize_t told = ::write(started[1], "", 1);
        }
        ::_exit(exit_code_not_started);
    }
    ::close(started[1]);
    char byte;
    const bool failed = child < 0 || ::read(started[0], &byte, 1) != 0;
    ::close(started[0]);
    if (child > 0) ::waitpid(child, nullptr, 0);
    return !failed;
}

} // namespace panedeck::cli
