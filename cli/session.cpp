#include "session.h"

#include "opening_display.h"
#include "settingshub/product_locations.h"

#include <fmt/format.h>

#include <cerrno>
#include <filesystem>
#include <sys/random.h>
#include <thread>

namespace panedeck::cli {

namespace {

using settingshub2::IProductLocations;

constexpr std::chrono::seconds startup_patience{20};
constexpr std::chrono::milliseconds wait_grain{50};
constexpr std::chrono::seconds ending_patience{2};
constexpr char sample_result[] = "en/C++/matrix_results/r000hs";

/// 128 bits of the system's randomness: whoever knows the token may use the page.
std::string random_token() {
    unsigned char bytes[16];
    if (::getrandom(bytes, sizeof bytes, 0) != static_cast<ssize_t>(sizeof bytes)) return {};
    std::string token;
    for (const unsigned char byte : bytes) {
        token += fmt::format("{:02x}", byte);
    }
    return token;
}

std::string program_path(const char* name) {
    return IProductLocations::get()->getProgramDirectory() + "/" + name;
}

bk2::error_code_t find_sample(std::string& path) {
    path = IProductLocations::get()->findInstalledFolder("samples");
    if (path.empty()) return bk2::error_code_t::failure("the bundled sample is not installed");
    path += std::string("/") + sample_result;
    std::error_code error;
    if (std::filesystem::is_directory(path, error)) return bk2::error_code_t::success();
    return bk2::error_code_t::failure(path + ": the bundled sample is not there");
}

/// The page's bundle: in a build tree it lies where the web build puts it.
std::string find_web_directory(const std::string& given) {
    if (!given.empty()) return given;
    const std::string folder = IProductLocations::get()->findInstalledFolder("web");
    std::error_code error;
    return std::filesystem::is_directory(folder + "/dist", error) ? folder + "/dist" : folder;
}

} // namespace

bk2::error_code_t Session::start(const SessionParameters& parameters) {
    m_token = random_token();
    if (m_token.empty()) return bk2::error_code_t::failure("the system gives no random numbers");
    const auto started = start_relay(find_web_directory(parameters.web_directory), parameters.port);
    if (started.failed()) return started;
    return start_host(parameters);
}

bk2::error_code_t Session::start_relay(const std::string& web_directory, unsigned port) {
    if (web_directory.empty())
        return bk2::error_code_t::failure("the folder of the web page is not installed");
    const auto started =
        m_relay.start({program_path("panedeck-guiserver"), "--http", "127.0.0.1:" + std::to_string(port),
                       "--library", "127.0.0.1:0", "--web", web_directory, "--token", m_token});
    return started.failed() ? started : read_relay_addresses();
}

/// The relay says where it listens: `library ADDRESS:PORT`, then the page's address.
bk2::error_code_t Session::read_relay_addresses() {
    std::string line;
    while (m_library_address.empty() || m_url.empty()) {
        if (const auto read = m_relay.read_line(line, startup_patience); read.failed()) {
            const bool told = !m_relay.is_running() && m_relay.exit_code() > 0;
            return told ? bk2::error_code_t::failure("") : read;
        }
        take_relay_address(line);
    }
    return bk2::error_code_t::success();
}

void Session::take_relay_address(const std::string& line) {
    constexpr std::string_view library = "library ", page = "http://";
    if (line.starts_with(library)) m_library_address = line.substr(library.size());
    if (!line.starts_with(page)) return;
    const std::size_t host_end = line.rfind(':');
    const std::size_t port_end = line.find('/', page.size());
    if (host_end < page.size() || port_end == line.npos || port_end < host_end) return;
    m_url = line;
    m_web_host = line.substr(page.size(), host_end - page.size());
    m_web_port = line.substr(host_end + 1, port_end - host_end - 1);
}

bk2::error_code_t Session::start_host(const SessionParameters& parameters) {
    std::vector<std::string> arguments{program_path("panedeck-host"), "--server", m_library_address,
                                       "--token", m_token};
    if (!parameters.user_directory.empty()) {
        arguments.insert(arguments.end(), {"--user-dir", parameters.user_directory});
    }
    if (!parameters.config_directory.empty()) {
        arguments.insert(arguments.end(), {"--config-dir", parameters.config_directory});
    }
    // What follows are results, even if a name begins with a dash.
    arguments.emplace_back("--");
    arguments.insert(arguments.end(), parameters.results.begin(), parameters.results.end());
    if (parameters.results.empty()) {
        std::string sample;
        if (const auto found = find_sample(sample); found.failed()) return found;
        arguments.push_back(sample);
    }
    return m_host.start(arguments);
}

bk2::error_code_t Session::wait_until_served(notifykit2::IProgress& progress) {
    OpeningDisplay display(progress);
    std::string line;
    while (line != "serving") {
        if (progress.is_canceled()) return bk2::error_code_t::canceled();
        bool has_line = false;
        if (const auto polled = m_host.poll_line(line, has_line, wait_grain); polled.failed())
            return reason_of_end(polled);
        if (has_line) display.show(line);
    }
    return bk2::error_code_t::success();
}

/// A program's output ends a moment before the program does.
bk2::error_code_t Session::reason_of_end(const bk2::error_code_t& end_of_output) {
    const auto deadline = std::chrono::steady_clock::now() + ending_patience;
    auto running = check();
    while (running.succeeded() && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(wait_grain);
        running = check();
    }
    return running.failed() ? running : end_of_output;
}

void Session::stop() {
    m_host.stop();
    m_relay.stop();
}

bk2::error_code_t Session::check() {
    for (ChildProcess* child : {&m_host, &m_relay}) {
        if (child->is_running()) continue;
        // A program that fails says in one line why; only a sudden death is told here.
        const bool told = child->exit_code() > 0;
        return bk2::error_code_t::failure(told ? "" : child->name() + " " + child->ending());
    }
    return bk2::error_code_t::success();
}

} // namespace panedeck::cli
