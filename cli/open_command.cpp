#include "basekit/environment.h"
#include "commands.h"
#include "stop_signals.h"

#include <cstdio>

namespace panedeck::cli {

namespace {

constexpr std::chrono::milliseconds watch_interval{200};

bool has_display() {
    return !bk2::get_environ_value("DISPLAY").empty() || !bk2::get_environ_value("WAYLAND_DISPLAY").empty();
}

void show_page(const Session& session, bool opens_browser) {
    std::printf("%s\n", session.url().c_str());
    std::fflush(stdout);
    if (opens_browser && has_display() && !start_detached("xdg-open", session.launch_url())) {
        std::fprintf(stderr, "panedeck: no browser could be started; open the address yourself\n");
    }
}

} // namespace

bk2::error_code_t run(const OpenCommand& command) {
    StopSignals signals;
    Session session;
    if (const auto started = session.start(command.session); started.failed()) return started;
    show_page(session, command.opens_browser);
    while (!signals.wait(watch_interval)) {
        // Relay and host reconnect to each other by themselves; one that is gone does not come back.
        if (const auto running = session.check(); running.failed()) return running;
    }
    session.stop();
    return bk2::error_code_t::success();
}

} // namespace panedeck::cli
