#pragma once

#include "basekit/ref_counted.h"
#include "notifykit/progress.h"

#include <chrono>
#include <functional>
#include <mutex>
#include <string>

namespace panedeck::cli {

/// Shows the progress of long work on standard error: a bar that moves on a terminal, elsewhere a plain line
/// for each stretch of work and each further quarter of it.
class ProgressDisplay
    : public bk2::ref_counted_t<ProgressDisplay, bk2::mt_ref_count_impl_t, notifykit2::IProgress> {
public:
    /// `is_stopped` is asked when the work asks whether it is cancelled, at most twenty times a second.
    explicit ProgressDisplay(std::function<bool()> is_stopped);
    ~ProgressDisplay() override;

    void start(const std::string& text, std::uint64_t total) override;
    void advance_to(std::uint64_t done) override;
    void cancel() override;
    bool is_canceled() const override;

    /// Ends the bar's line, so that other output begins on a line of its own.
    void finish();

private:
    void end_line();
    void draw_bar(unsigned percent);

    mutable std::mutex m_mutex; ///< over all that follows
    std::function<bool()> m_is_stopped;
    bool m_on_terminal;
    std::string m_text;
    std::uint64_t m_total = 0;
    unsigned m_shown_percent = 0;
    bool m_line_open = false;
    mutable bool m_canceled = false;
    mutable std::chrono::steady_clock::time_point m_next_question{};
};

} // namespace panedeck::cli
