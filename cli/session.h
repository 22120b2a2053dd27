#pragma once

#include "basekit/error_code.h"
#include "child_process.h"
#include "notifykit/progress.h"
#include "session_folder.h"

#include <string>
#include <vector>

namespace panedeck::cli {

/// What a session shows and with which settings. Empty texts mean the default.
struct SessionParameters {
    std::vector<std::string>
        results; ///< one or two result directories or profile files; none: the bundled sample
    std::string user_directory;
    std::string config_directory;
    std::string web_directory;
    unsigned port = 0; ///< of the page; 0 is a free one
};

/// The relay and the host that a person's view of a result needs, running as long as this object lives.
class Session {
public:
    /// Starts the relay on free ports, then the host with the results. The host goes on loading when this
    /// returns. Both get the session's token in the variable `PANEDECK_TOKEN` and share a folder for
    /// downloads. Fails in one line if a program or a folder is missing or a program does not come up.
    bk2::error_code_t start(const SessionParameters& parameters);

    /// Waits until the host has opened its results and shows in `progress` how far that is. A cancelled
    /// progress ends the wait with the cancelled error. Else fails as `check` does.
    bk2::error_code_t wait_until_served(notifykit2::IProgress& progress);

    /// Stops the host, then the relay, and removes what they left.
    void stop();

    /// Success while both run. Else a failure; its message is empty if the program has said itself what was
    /// wrong.
    bk2::error_code_t check();

    /// The page's address, with the token. For people, not for the arguments of programs: other users of the
    /// machine can read those.
    const std::string& url() const { return m_url; }
    /// The address of a file that sends a browser on to the page, and that only this user can read.
    const std::string& launch_url() const { return m_launch_url; }
    const std::string& token() const { return m_token; }
    /// Host and port of the page.
    const std::string& web_host() const { return m_web_host; }
    const std::string& web_port() const { return m_web_port; }

private:
    bk2::error_code_t make_folders();
    bk2::error_code_t start_relay(const std::string& web_directory, unsigned port);
    bk2::error_code_t read_relay_addresses();
    void take_relay_address(const std::string& line);
    bk2::error_code_t write_launch_file();
    bk2::error_code_t reason_of_end(const bk2::error_code_t& end_of_output);
    bk2::error_code_t start_host(const SessionParameters& parameters);

    std::string m_token;
    std::string m_library_address;
    std::string m_url;
    std::string m_web_host;
    std::string m_web_port;
    std::string m_launch_url;
    std::string m_export_directory;
    // In this order: the host goes first when they are destroyed, the folder last.
    SessionFolder m_folder;
    ChildProcess m_relay;
    ChildProcess m_host;
};

} // namespace panedeck::cli
