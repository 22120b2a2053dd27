#include "program/run_host.h"

#include "logkit/component_logger.h"
#include "portkit/terminal_text.h"
#include "program/exit_deadline.h"
#include "program/opening_report.h"
#include "program/stop_signals.h"
#include "session/host_session.h"
#include "session/open_results.h"
#include "settingshub/product_locations.h"
#include "settingshub/user_language.h"

#include <chrono>
#include <cstdio>
#include <future>
#include <mutex>
#include <string>
#include <utility>

namespace panedeck::host {

namespace {

// The host ends within a second of being asked to; the rest of that second is for the process to go.
constexpr std::chrono::milliseconds longest_end{750};

/// The wish to stop: cancels the opening of results and ends the waiting.
class StopWish {
public:
    /// May come any number of times.
    void make() {
        m_opening->cancel();
        std::call_once(m_once, [this] { m_made.set_value(); });
    }
    void wait() { m_made.get_future().wait(); }
    notifykit2::IProgress* opening() { return m_opening.get(); }

private:
    bk2::sptr_t<OpeningReport> m_opening = bk2::make_sptr<OpeningReport>();
    std::once_flag m_once;
    std::promise<void> m_made;
};

int fail(const bk2::error_code_t& error) {
    const std::string why = error.message().empty() ? error.as_string() : std::string(error.message());
    std::fprintf(stderr, "panedeck-host: %s\n", portkit2::terminal_text(why).c_str());
    return 1;
}

} // namespace

int runHost(const host_options_t& options) {
    ExitDeadline deadline(longest_end);
    StopWish stopWish;
    StopSignals signals([&] {
        deadline.start();
        stopWish.make();
    });
    logkit1::configureComponentLogger();
    const auto locations = settingshub2::IProductLocations::get();
    locations->setUserDirectory(options.userDirectory);
    locations->setConfigDirectory(options.configDirectory);
    settingshub2::configureMessageCatalogs();

    settingshub2::PrivateFolder exports;
    if (!options.exportDirectory.empty())
        if (const auto code = exports.open(options.exportDirectory); code.failed()) return fail(code);
    open_results_t results;
    const auto opened =
        openResults(options.results, locations->getConfigDirectory(), stopWish.opening(), results);
    if (opened.is_canceled()) return 0;
    if (opened.failed()) return fail(opened);

    HostSession session(std::move(results), std::move(exports));
    const auto connected = session.connect(options.server, options.role, options.token);
    if (connected.failed()) return fail(connected);
    OpeningReport::finish();
    stopWish.wait();
    session.close();
    return 0;
}

} // namespace panedeck::host
