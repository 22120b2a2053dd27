#include "commands.h"
#include "grid_answer.h"
#include "pane_client.h"
#include "stop_signals.h"

#include <cstdio>

namespace panedeck::cli {

namespace {

constexpr unsigned shown_rows = 20;

bk2::error_code_t still_wanted(StopSignals& signals, Session& session) {
    return signals.is_stopped() ? bk2::error_code_t::canceled() : session.check();
}

bk2::error_code_t fetch_table(Session& session, PaneClient& client, std::string& text) {
    const auto connected = client.connect(session.web_host(), session.web_port(), session.token());
    if (connected.failed()) return connected;
    if (const auto there = client.wait_for_library(); there.failed()) return there;
    bk2::variant_bag_t answer;
    const auto answered = client.request("grid:get", function_table_request(shown_rows), answer);
    return answered.failed() ? answered : grid_answer_as_text(answer, text);
}

} // namespace

bk2::error_code_t run(const CheckCommand& command) {
    StopSignals signals;
    Session session;
    if (const auto started = session.start(command.session); started.failed()) return started;
    PaneClient client([&] { return still_wanted(signals, session); });
    client.set_patience(std::chrono::seconds(command.timeout_seconds));
    std::string text;
    if (const auto fetched = fetch_table(session, client, text); fetched.failed()) {
        // The socket's end may only be how we notice that a program has died: then that is the news.
        const auto running = session.check();
        return running.failed() && !fetched.is_canceled() ? running : fetched;
    }
    std::fputs(text.c_str(), stdout);
    session.stop();
    return bk2::error_code_t::success();
}

} // namespace panedeck::cli
