#include "program/opening_report.h"

#include "portkit/terminal_text.h"

#include <algorithm>
#include <cstdio>

namespace panedeck::host {

namespace {

constexpr unsigned percentStep = 5;

unsigned percentOf(std::uint64_t done, std::uint64_t total) {
    if (total == 0) return 0;
    return static_cast<unsigned>(100.0 * static_cast<double>(std::min(done, total)) /
                                 static_cast<double>(total));
}

} // namespace

void OpeningReport::start(const std::string& text, std::uint64_t total) {
    const std::lock_guard lock(m_mutex);
    m_text = portkit2::terminal_text(text);
    m_total = total;
    m_percent = 0;
    write();
}

void OpeningReport::advance_to(std::uint64_t done) {
    const std::lock_guard lock(m_mutex);
    const unsigned percent = percentOf(done, m_total);
    if (percent < m_percent + percentStep) return;
    m_percent = percent;
    write();
}

void OpeningReport::finish() {
    std::printf("serving\n");
    std::fflush(stdout);
}

void OpeningReport::write() const {
    std::printf("opening %u %s\n", m_percent, m_text.c_str());
    std::fflush(stdout);
}

} // namespace panedeck::host
