#pragma once

#include <cstddef>
#include <functional>
#include <list>
#include <memory>

namespace panedeck::guiserver {

/// Limits how many connections of one sort there are at a time. A connection holds a slot for as long as it
/// lives, first as a stranger, then, once it has shown that it may be here, as a guest. When all slots are
/// taken, a new connection takes that of the oldest stranger: so connections that say nothing, however many,
/// keep nobody out. Belongs to one thread.
class ConnectionSlots {
    struct Places;

public:
    class Slot {
    public:
        explicit Slot(std::shared_ptr<Places> places);
        ~Slot();
        Slot(const Slot&) = delete;
        Slot& operator=(const Slot&) = delete;

        /// How to end the connection, should it have to make room. Called once at most; the slot counts as
        /// free from then on.
        void set_end(std::function<void()> end) { m_end = std::move(end); }

        /// The connection may be here, and is not asked to make room any more.
        void admit();
        bool is_admitted() const { return m_state == State::guest; }

    private:
        friend class ConnectionSlots;
        enum class State { stranger, guest, ended };
        void leave(State next);

        std::shared_ptr<Places> m_places;
        std::list<Slot*>::iterator m_position; ///< among the strangers, while it is one
        State m_state = State::stranger;
        std::function<void()> m_end;
    };
    using slot_t = std::shared_ptr<Slot>;

    explicit ConnectionSlots(std::size_t limit);

    /// Null if all are taken by guests.
    slot_t take();

private:
    struct Places {
        std::size_t limit = 0;
        std::size_t guests = 0;
        std::list<Slot*> strangers; ///< the oldest first
    };

    std::shared_ptr<Places> m_places; ///< slots may outlive this object
};

} // namespace panedeck::guiserver
