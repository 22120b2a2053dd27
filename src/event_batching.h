#pragma once

#include "transport/ievent_batching.h"

#include <future>

namespace panedeck {

class EventBatching final : public IEventBatching {
public:
    EventBatching(std::function<void()> callback, std::chrono::milliseconds delay);

    void notify() override;

private:
    using callback_t = std::function<void()>;

    static void callDelayed(const std::weak_ptr<callback_t>& callback, std::chrono::milliseconds delay);

    std::chrono::milliseconds m_delay;
    std::future<void> m_delayedCall; ///< empty until the first notification
    /// Behind the future: goes first, so that the future's destructor waits for a call that was taken back.
    /// The delayed call holds this and never the object, which would otherwise end, and wait for the call, on
    /// the call's own thread.
    std::shared_ptr<callback_t> m_callback;
};

} // namespace panedeck
