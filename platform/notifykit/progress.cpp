#include "notifykit/progress.h"

#include "basekit/ref_counted.h"

#include <atomic>

namespace notifykit2 {

IProgress::~IProgress() = default;

namespace {

class DevNullProgress
    : public bk2::ref_counted_t<DevNullProgress, bk2::mt_ref_count_impl_t, IDevNullProgress> {
public:
    ~DevNullProgress() override = default;

    void start(const std::string&, std::uint64_t) override {}
    void advance_to(std::uint64_t) override {}
    void cancel() override { m_canceled.store(true, std::memory_order_relaxed); }
    bool is_canceled() const override { return m_canceled.load(std::memory_order_relaxed); }

private:
    std::atomic<bool> m_canceled{false};
};

} // namespace

bk2::sptr_t<IProgress> IDevNullProgress::create() {
    return bk2::make_sptr<DevNullProgress>();
}

} // namespace notifykit2
