#include "commands.h"
#include "grid_answer.h"
#include "opening_wait.h"
#include "output.h"
#include "pane_client.h"
#include "profile_summary.h"
#include "stop_signals.h"

#include <utility>
#include <vector>

namespace panedeck::cli {

namespace {

constexpr unsigned shown_rows = 20;

bk2::error_code_t still_wanted(StopSignals& signals, Session& session) {
    return signals.is_stopped() ? bk2::error_code_t::canceled() : session.check();
}

struct Answer {
    std::string table;
    std::vector<std::string> sentences;
};

bk2::error_code_t fetch_answer(Session& session, PaneClient& client, Answer& answer) {
    const auto connected = client.connect(session.web_host(), session.web_port(), session.token());
    if (connected.failed()) return connected;
    if (const auto there = client.wait_for_library(); there.failed()) return there;
    bk2::variant_bag_t summary_bag;
    const auto described = client.request("profile:summary", {}, summary_bag);
    if (described.failed()) return described;
    ProfileSummary summary = read_profile_summary(summary_bag);
    answer.sentences = std::move(summary.sentences);
    bk2::variant_bag_t rows;
    const auto answered = client.request("grid:get", function_table_request(shown_rows), rows);
    return answered.failed() ? answered : grid_answer_as_text(rows, summary.units, answer.table);
}

} // namespace

bk2::error_code_t run(const CheckCommand& command) {
    StopSignals signals;
    Session session;
    if (const auto started = session.start(command.session); started.failed()) return started;
    PaneClient client([&] { return still_wanted(signals, session); });
    const std::chrono::seconds patience(command.timeout_seconds);
    client.set_patience(patience);
    const auto served = wait_for_results(session, signals, std::chrono::steady_clock::now() + patience);
    if (served.failed()) return served;
    Answer answer;
    if (const auto fetched = fetch_answer(session, client, answer); fetched.failed()) {
        // The socket's end may only be how we notice that a program has died: then that is the news.
        const auto running = session.check();
        return running.failed() && !fetched.is_canceled() ? running : fetched;
    }
    session.stop();
    for (const std::string& sentence : answer.sentences) {
        write_complaint(sentence);
    }
    return write_output(answer.table);
}

} // namespace panedeck::cli
