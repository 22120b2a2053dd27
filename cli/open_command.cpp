#include "basekit/environment.h"
#include "commands.h"
#include "opening_wait.h"
#include "output.h"
#include "stop_signals.h"

namespace panedeck::cli {

namespace {

constexpr std::chrono::milliseconds watch_interval{200};

bool has_display() {
    return !bk2::get_environ_value("DISPLAY").empty() || !bk2::get_environ_value("WAYLAND_DISPLAY").empty();
}

bk2::error_code_t show_page(const Session& session, bool opens_browser) {
    const auto written = write_output(session.url() + "\n");
    if (written.failed()) return written;
    if (opens_browser && has_display() && !start_detached("xdg-open", session.launch_url())) {
        write_complaint("panedeck: no browser could be started; open the address yourself");
    }
    return written;
}

} // namespace

bk2::error_code_t run(const OpenCommand& command) {
    StopSignals signals;
    Session session;
    if (const auto started = session.start(command.session); started.failed()) return started;
    // To be stopped is how this command ends, at whatever stage.
    const auto served = wait_for_results(session, signals);
    if (served.is_canceled()) return bk2::error_code_t::success();
    if (served.failed()) return served;
    if (const auto shown = show_page(session, command.opens_browser); shown.failed()) return shown;
    while (!signals.wait(watch_interval)) {
        // Relay and host reconnect to each other by themselves; one that is gone does not come back.
        if (const auto running = session.check(); running.failed()) return running;
    }
    session.stop();
    return bk2::error_code_t::success();
}

} // namespace panedeck::cli
