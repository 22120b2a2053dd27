#pragma once

// Needed by tasks, which tell their owner that they have ended, and by whoever owns tasks.

#include "basekit/api.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace bk2 {

/// One link between a signal and a subscriber. Owned by the signal; the subscriber only knows how to cut it.
class PANEDECK_API connection_base_t {
public:
    connection_base_t() = default;
    connection_base_t(const connection_base_t&) = delete;
    connection_base_t& operator=(const connection_base_t&) = delete;
    virtual ~connection_base_t();

    /// Cuts the link. When this returns, no call runs on another thread and none will come; called from
    /// within the slot itself it takes effect with the next emission.
    void disconnect();

protected:
    // Held during a call, so that disconnect() waits for it. Recursive: a slot may cut its own link.
    std::recursive_mutex m_mutex;
    bool m_connected = true; ///< under m_mutex
};

/// The base of whatever listens to signals: cuts all its links when it is destroyed.
///
/// A derived class whose slots touch its own members calls `disconnect_all()` first in its destructor, since
/// its members are gone by the time that this base is destroyed. Not to be called while holding a lock that a
/// slot takes: it waits for slots that run.
class PANEDECK_API subscriber_base_t {
public:
    subscriber_base_t(const subscriber_base_t&) = delete;
    subscriber_base_t& operator=(const subscriber_base_t&) = delete;

    /// Cuts all links; see `connection_base_t::disconnect`. Safe from any thread.
    void disconnect_all();

protected:
    subscriber_base_t() = default;
    ~subscriber_base_t();

private:
    template <class... Args>
    friend class signal_t;

    void remember(const std::shared_ptr<connection_base_t>& connection);

    std::mutex m_mutex;
    // Under m_mutex. Weak, since signals come and go while their subscriber stays.
    std::vector<std::weak_ptr<connection_base_t>> m_connections;
    std::size_t m_prune_at = 16; ///< under m_mutex
};

/// Calls its slots, in the order in which they were connected, on the thread that emits. All operations are
/// safe from any thread; a slot connected during an emission is called from the next one on.
template <class... Args>
class signal_t {
public:
    using slot_t = std::function<void(Args...)>;

    signal_t() = default;
    signal_t(const signal_t&) = delete;
    signal_t& operator=(const signal_t&) = delete;

    /// `slot` is called until `subscriber` cuts the link or is destroyed.
    void connect(subscriber_base_t& subscriber, slot_t slot) {
        auto connection = std::make_shared<connection_t>(std::move(slot));
        subscriber.remember(connection);
        std::lock_guard lock(m_mutex);
        m_connections.push_back(std::move(connection));
    }

    /// Calls the slots. No lock of the signal itself is held meanwhile.
    void emit(Args... args) const {
        for (const auto& connection : connections())
            connection->call(args...);
    }

private:
    class connection_t : public connection_base_t {
    public:
        explicit connection_t(slot_t slot) : m_slot(std::move(slot)) {}

        void call(Args... args) {
            std::lock_guard lock(m_mutex);
            if (m_connected) m_slot(args...);
        }

    private:
        slot_t m_slot;
    };

    std::vector<std::shared_ptr<connection_t>> connections() const {
        std::lock_guard lock(m_mutex);
        return m_connections;
    }

    mutable std::mutex m_mutex;
    std::vector<std::shared_ptr<connection_t>> m_connections; ///< under m_mutex
};

} // namespace bk2
