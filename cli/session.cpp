#include "session.h"

#include "basekit/random_text.h"
#include "opening_display.h"
#include "portkit/percent_encode.h"
#include "settingshub/product_locations.h"

#include <filesystem>
#include <thread>

namespace panedeck::cli {

namespace {

using settingshub2::IProductLocations;

constexpr std::chrono::seconds startup_patience{20};
constexpr std::chrono::milliseconds wait_grain{50};
constexpr std::chrono::seconds ending_patience{2};
constexpr unsigned token_bytes = 16;
const std::string token_variable = "PANEDECK_TOKEN=";
constexpr char sample_result[] = "en/C++/matrix_results/r000hs";

std::string file_url(const std::string& path) {
    std::string url = "file://";
    for (const auto& name : std::filesystem::path(path).relative_path()) {
        url += "/" + portkit2::percent_encode(name.string());
    }
    return url;
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
    m_token = bk2::random_hex_digits(token_bytes);
    if (const auto made = make_folders(); made.failed()) return made;
    const auto started = start_relay(find_web_directory(parameters.web_directory), parameters.port);
    if (started.failed()) return started;
    if (const auto written = write_launch_file(); written.failed()) return written;
    return start_host(parameters);
}

bk2::error_code_t Session::make_folders() {
    const auto made = m_folder.make();
    return made.failed() ? made : m_folder.make_folder("exports", m_export_directory);
}

bk2::error_code_t Session::start_relay(const std::string& web_directory, unsigned port) {
    if (web_directory.empty())
        return bk2::error_code_t::failure("the folder of the web page is not installed");
    const auto started = m_relay.start({program_path("panedeck-guiserver"), "--http",
                                        "127.0.0.1:" + std::to_string(port), "--library", "127.0.0.1:0",
                                        "--web", web_directory, "--export-dir", m_export_directory},
                                       {token_variable + m_token});
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

/// The address holds nothing that HTML would take for its own: the relay encodes the token.
bk2::error_code_t Session::write_launch_file() {
    std::string path;
    const auto written =
        m_folder.write_file("open.html",
                            "<!doctype html><meta charset=\"utf-8\"><title>panedeck</title>"
                            "<meta name=\"referrer\" content=\"no-referrer\">"
                            "<meta http-equiv=\"refresh\" content=\"0; url=" +
                                m_url + "\"><a href=\"" + m_url + "\">Open the profile</a>\n",
                            path);
    m_launch_url = file_url(path);
    return written;
}

bk2::error_code_t Session::start_host(const SessionParameters& parameters) {
    std::vector<std::string> arguments{program_path("panedeck-host"), "--server", m_library_address,
                                       "--export-dir", m_export_directory};
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
    return m_host.start(arguments, {token_variable + m_token});
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
    m_folder.remove();
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
