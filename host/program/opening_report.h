#pragma once

#include "basekit/ref_counted.h"
#include "notifykit/progress.h"

#include <atomic>
#include <mutex>
#include <string>

namespace panedeck::host {

/// Tells whoever started the host, in lines on standard output, how far the opening of the results is:
/// `opening PERCENT TEXT` while it lasts, with a new text for each further stretch, then `serving`. A
/// standard output that takes nothing is no failure.
class OpeningReport
    : public bk2::ref_counted_t<OpeningReport, bk2::mt_ref_count_impl_t, notifykit2::IProgress> {
public:
    void start(const std::string& text, std::uint64_t total) override;
    void advance_to(std::uint64_t done) override;
    void cancel() override { m_canceled = true; }
    bool is_canceled() const override { return m_canceled; }

    /// All results are open.
    static void finish();

private:
    void write() const;

    std::mutex m_mutex; ///< guards what follows but the last
    std::string m_text;
    std::uint64_t m_total = 0;
    unsigned m_percent = 0;
    std::atomic<bool> m_canceled{false};
};

} // namespace panedeck::host
