#pragma once

#include "transport/ilong_polling.h"

namespace panedeck {

class LongPolling final : public ILongPolling, public std::enable_shared_from_this<LongPolling> {
public:
    std::shared_ptr<ILongPolling> setInterval(const std::chrono::milliseconds& interval) override;
    std::shared_ptr<ILongPolling> setTimeout(const std::chrono::milliseconds& timeout) override;
    void poll(const std::function<int()>& condition) override;

private:
    std::chrono::milliseconds m_interval{100};
    std::chrono::milliseconds m_timeout = std::chrono::seconds(30);
};

} // namespace panedeck
