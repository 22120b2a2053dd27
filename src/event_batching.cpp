#include "event_batching.h"

#include <thread>
#include <utility>

namespace panedeck {

std::shared_ptr<IEventBatching> IEventBatching::create(std::function<void()> callback,
                                                       std::chrono::milliseconds delay) {
    return std::make_shared<EventBatching>(std::move(callback), delay);
}

EventBatching::EventBatching(std::function<void()> callback, std::chrono::milliseconds delay)
    : m_delay(delay), m_callback(std::make_shared<callback_t>(std::move(callback))) {}

void EventBatching::notify() {
    constexpr std::chrono::seconds none{0};
    if (m_delayedCall.valid() && m_delayedCall.wait_for(none) != std::future_status::ready) return;
    m_delayedCall = std::async(std::launch::async, callDelayed, std::weak_ptr(m_callback), m_delay);
}

void EventBatching::callDelayed(const std::weak_ptr<callback_t>& callback, std::chrono::milliseconds delay) {
    std::this_thread::sleep_for(delay);
    if (const auto alive = callback.lock()) (*alive)();
}

} // namespace panedeck
