#pragma once

#include "scheduler/request_scheduler.h"
#include "session/language_switch.h"
#include "session/reconnect_pace.h"
#include "transport/isocket_event_handler.h"

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace panedeck::host {

/// What the GUI server sends, handed to the scheduler. Only queues work, as the I/O thread demands; but holds
/// that thread, and with it the client's next attempt, while a server that turned the host away is to be left
/// alone: without a connection there is nothing that the thread could read or write.
class SocketEvents : public ISocketEventHandler {
public:
    /// Names the scheduler, which comes to life after the client that this object is made for. To be called
    /// before the client connects; `scheduler` outlives the connection.
    void setScheduler(RequestScheduler& scheduler) { m_scheduler = &scheduler; }

    /// The same for the switch of the language; without one nothing comes of that event.
    void setLanguageSwitch(LanguageSwitch& languageSwitch) { m_languageSwitch = &languageSwitch; }

    bk2::error_code_t onRequest(const char* requestId, const char* requestType,
                                bk2::variant_bag_t& request) override;
    /// "cancelRequest" with `requestId` cancels that request, "setLanguage" with `language` switches to it;
    /// events that the host has no use for are ignored.
    bk2::error_code_t onEvent(const char* name, bk2::variant_bag_t& event) override;
    void onConnectionLost() override;
    void onConnected() override;

    /// Ends a pause, and all pauses to come. To be called before the client is closed, from any thread.
    void stopPausing();

private:
    void pause(std::chrono::milliseconds length);

    ReconnectPace m_pace;
    std::mutex m_mutex; ///< guards `m_pausing`
    std::condition_variable m_changed;
    bool m_pausing = true; ///< false: nobody is to be held any more
    RequestScheduler* m_scheduler = nullptr;
    LanguageSwitch* m_languageSwitch = nullptr;
};

} // namespace panedeck::host
