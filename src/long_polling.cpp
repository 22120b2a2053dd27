#include "long_polling.h"

#include <thread>

namespace panedeck {

std::shared_ptr<ILongPolling> ILongPolling::create() {
    return std::make_shared<LongPolling>();
}

std::shared_ptr<ILongPolling> LongPolling::setInterval(const std::chrono::milliseconds& interval) {
    m_interval = interval;
    return shared_from_this();
}

std::shared_ptr<ILongPolling> LongPolling::setTimeout(const std::chrono::milliseconds& timeout) {
    m_timeout = timeout;
    return shared_from_this();
}

void LongPolling::poll(const std::function<int()>& condition) {
    using std::chrono::system_clock;
    const auto start = system_clock::now();
    const auto passed = [start] {
        return std::chrono::duration_cast<std::chrono::milliseconds>(system_clock::now() - start);
    };
    while (passed() < m_timeout) {
        if (condition() == 1) return;
        if (m_interval > m_interval.zero()) std::this_thread::sleep_for(m_interval);
    }
}

} // namespace panedeck
