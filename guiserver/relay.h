#pragma once

#include "frame.h"
#include "tab_message.h"

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>

namespace panedeck::guiserver {

/// A browser tab as the relay sees it. `send` only queues, and never calls the relay back from inside.
class ITab {
public:
    virtual void send(OutgoingText text) = 0;

protected:
    ~ITab() = default;
};

/// The library's connection as the relay sees it, with the same promise.
class ILibrary {
public:
    virtual void send(std::string text) = 0;

protected:
    ~ILibrary() = default;
};

/// Who asked what: the traffic between any number of tabs and one library, without sockets.
///
/// - A tab's request goes to the library under an id that no other request of any tab or of an earlier relay
/// has; the
///   answer goes back to the asker under its own id. Each request gets at most one answer.
/// - Events of the library go to all tabs, events of a tab go to the library. `cancelRequest` names the tab's
/// own id.
/// - When a tab goes, its requests are cancelled. When the library goes, all requests are answered with an
/// error, as are
///   new ones while there is none.
/// - A tab is told the library's state when it opens and at each change, by the events
/// "relay:libraryConnected" and
///   "relay:libraryLost".
///
/// Belongs to one thread. Tabs and library are not owned; each is taken out before it dies.
class Relay {
public:
    Relay();

    void open_tab(ITab& tab);
    void close_tab(ITab& tab);
    void handle_tab_message(ITab& tab, const std::string& text);

    /// False if there is a library already: the first one stays for as long as it is connected.
    bool open_library(ILibrary& library);
    /// Does nothing for a library that is not the one.
    void close_library(ILibrary& library);
    void handle_library_frame(std::string frame);

    std::size_t pending_count() const { return m_pending.size(); }

private:
    struct Pending {
        ITab* tab;
        std::string own_id;
    };
    using pending_t = std::unordered_map<std::string, Pending>;

    void forward_request(ITab& tab, TabMessage message);
    void forward_event(ITab& tab, TabMessage message);
    void cancel_requests(ITab& tab, std::string_view own_id);
    void send_cancel(const std::string& id);
    void handle_response(const frame_body_t& frame);
    void broadcast(const frame_body_t& frame);
    std::string new_id();
    std::size_t pending_of(ITab& tab) const;
    pending_t::node_type take_pending(const std::string& id);

    std::set<ITab*> m_tabs;
    ILibrary* m_library = nullptr;
    pending_t m_pending; ///< by the id that the library knows
    /// The same requests by asker, for cancelling; the values are keys of `m_pending`.
    std::map<ITab*, std::multimap<std::string, std::string, std::less<>>> m_pending_by_tab;
    std::string m_id_prefix;
    std::uint64_t m_last_id = 0;
};

} // namespace panedeck::guiserver
