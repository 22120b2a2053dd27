#include "progress_display.h"

#include "portkit/terminal_text.h"

#include <algorithm>
#include <cstdio>
#include <unistd.h>

namespace panedeck::cli {

namespace {

constexpr unsigned bar_width = 40;
constexpr std::chrono::milliseconds question_interval{50};

unsigned percent_of(std::uint64_t done, std::uint64_t total) {
    if (total == 0) return 0;
    return static_cast<unsigned>(100.0 * static_cast<double>(std::min(done, total)) /
                                 static_cast<double>(total));
}

} // namespace

ProgressDisplay::ProgressDisplay(std::function<bool()> is_stopped)
    : m_is_stopped(std::move(is_stopped)), m_on_terminal(::isatty(STDERR_FILENO) == 1) {}

ProgressDisplay::~ProgressDisplay() {
    finish();
}

void ProgressDisplay::start(const std::string& text, std::uint64_t total) {
    const std::lock_guard lock(m_mutex);
    end_line();
    m_text = portkit2::terminal_text(text);
    m_total = total;
    m_shown_percent = 0;
    if (m_on_terminal)
        draw_bar(0);
    else
        std::fprintf(stderr, "%s\n", m_text.c_str());
}

void ProgressDisplay::advance_to(std::uint64_t done) {
    const std::lock_guard lock(m_mutex);
    const unsigned percent = percent_of(done, m_total);
    const unsigned step = m_on_terminal ? 1 : 25;
    if (percent < m_shown_percent + step) return;
    m_shown_percent = percent - percent % step;
    if (m_on_terminal)
        draw_bar(percent);
    else
        std::fprintf(stderr, "%s: %u%%\n", m_text.c_str(), m_shown_percent);
}

void ProgressDisplay::cancel() {
    const std::lock_guard lock(m_mutex);
    m_canceled = true;
}

bool ProgressDisplay::is_canceled() const {
    const std::lock_guard lock(m_mutex);
    const auto now = std::chrono::steady_clock::now();
    if (!m_canceled && now >= m_next_question) {
        m_next_question = now + question_interval;
        if (m_is_stopped()) m_canceled = true;
    }
    return m_canceled;
}

void ProgressDisplay::finish() {
    const std::lock_guard lock(m_mutex);
    end_line();
}

void ProgressDisplay::end_line() {
    if (m_line_open) std::fputc('\n', stderr);
    m_line_open = false;
}

void ProgressDisplay::draw_bar(unsigned percent) {
    const unsigned filled = percent * bar_width / 100;
    std::fprintf(stderr, "\r%s [%s%s] %3u%%", m_text.c_str(), std::string(filled, '#').c_str(),
                 std::string(bar_width - filled, '.').c_str(), percent);
    std::fflush(stderr);
    m_line_open = true;
}

} // namespace panedeck::cli
