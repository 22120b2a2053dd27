#include "opening_wait.h"

#include "progress_display.h"

namespace panedeck::cli {

bk2::error_code_t wait_for_results(Session& session, StopSignals& signals,
                                   std::chrono::steady_clock::time_point deadline) {
    const auto is_late = [deadline] { return std::chrono::steady_clock::now() >= deadline; };
    const auto progress = bk2::make_sptr<ProgressDisplay>([&] { return signals.is_stopped() || is_late(); });
    const auto served = session.wait_until_served(*progress);
    progress->finish();
    const bool gave_up = served.is_canceled() && !signals.is_stopped();
    return gave_up ? bk2::error_code_t::failure("no answer in time") : served;
}

} // namespace panedeck::cli
