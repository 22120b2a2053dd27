#include "relay.h"

#include "access_rules.h"
#include "logkit/component_logger.h"
#include "portkit/terminal_text.h"
#include "response_id.h"

#include <utility>

namespace panedeck::guiserver {

using bk2::error_code_t;
using bk2::variant_bag_t;
using bk2::variant_t;

namespace {

constexpr std::string_view no_library =
    "FailedTo.Process.This.Operation: The profiler's library is not connected";
constexpr std::string_view too_many_requests =
    "FailedTo.Process.This.Operation: Too many requests of this page wait for an answer";

/// More than any page has under way; a page that never waits is stopped here.
constexpr std::size_t most_pending_of_a_tab = 10'000;

frame_body_t make_event(std::string_view name) {
    return std::make_shared<const std::string>("<msg><event><name>" + std::string(name) +
                                               "</name></event></msg>");
}

frame_body_t state_event(bool connected) {
    return make_event(connected ? "relay:libraryConnected" : "relay:libraryLost");
}

bool is_event(std::string_view frame) {
    return frame.starts_with("<msg><event>");
}

/// A browser ends the whole connection over one text that is not UTF-8, and with it all requests of its tab;
/// characters that the wire cannot carry become U+FFFD there too.
void repair_text(std::string& text) {
    if (portkit2::is_valid_utf8(text)) return;
    logkit1::log(logkit1::level_t::warning,
                 "A message of the library is not UTF-8: " + portkit2::terminal_text(text.substr(0, 300)));
    text = portkit2::repair_utf8(text);
}

} // namespace

/// The prefix keeps answers that were meant for an earlier run of the relay apart.
Relay::Relay() : m_id_prefix(make_token().substr(0, 8) + ".") {}

// ---- Tabs ----

void Relay::open_tab(ITab& tab) {
    m_tabs.insert(&tab);
    tab.send(OutgoingText(state_event(m_library != nullptr)));
}

void Relay::close_tab(ITab& tab) {
    if (m_tabs.erase(&tab) == 0) return;
    const auto requests = m_pending_by_tab.extract(&tab);
    if (requests.empty()) return;
    for (const auto& [own_id, id] : requests.mapped()) {
        m_pending.erase(id);
        send_cancel(id);
    }
}

void Relay::handle_tab_message(ITab& tab, const std::string& text) {
    TabMessage message;
    std::optional<std::string> id;
    const error_code_t result = read_tab_message(text, message, id);
    if (result.failed()) return tab.send(OutgoingText(error_response(id, result.as_string(1))));
    if (message.kind == TabMessage::Kind::request) return forward_request(tab, std::move(message));
    forward_event(tab, std::move(message));
}

void Relay::forward_request(ITab& tab, TabMessage message) {
    if (!m_library) return tab.send(OutgoingText(error_response(message.id, no_library)));
    if (pending_of(tab) >= most_pending_of_a_tab)
        return tab.send(OutgoingText(error_response(message.id, too_many_requests)));
    const std::string id = new_id();
    message.content.put<variant_t>("id", variant_t(id));
    m_pending_by_tab[&tab].emplace(message.id, id);
    m_pending.emplace(id, Pending{&tab, std::move(message.id)});
    m_library->send(message.write());
}

void Relay::forward_event(ITab& tab, TabMessage message) {
    if (!m_library) return;
    if (message.name != "cancelRequest") return m_library->send(message.write());
    const variant_t* own_id = message.content.get<variant_t>("requestId");
    if (own_id) cancel_requests(tab, own_id->text());
}

/// The library answers what it cancels, so the requests stay pending.
void Relay::cancel_requests(ITab& tab, std::string_view own_id) {
    const auto requests = m_pending_by_tab.find(&tab);
    if (requests == m_pending_by_tab.end()) return;
    const auto [begin, end] = requests->second.equal_range(own_id);
    for (auto request = begin; request != end; ++request)
        send_cancel(request->second);
}

void Relay::send_cancel(const std::string& id) {
    if (!m_library) return;
    TabMessage cancel;
    cancel.kind = TabMessage::Kind::event;
    cancel.content.put<variant_t>("name", variant_t("cancelRequest"));
    cancel.content.put<variant_t>("requestId", variant_t(id));
    m_library->send(cancel.write());
}

// ---- Library ----

bool Relay::open_library(ILibrary& library) {
    if (m_library) return false;
    m_library = &library;
    broadcast(state_event(true));
    return true;
}

void Relay::close_library(ILibrary& library) {
    if (m_library != &library) return;
    m_library = nullptr;
    m_pending_by_tab.clear();
    for (const auto& [id, request] : std::exchange(m_pending, {}))
        request.tab->send(OutgoingText(error_response(request.own_id, no_library)));
    broadcast(state_event(false));
}

void Relay::handle_library_frame(std::string text) {
    repair_text(text);
    const auto frame = std::make_shared<const std::string>(std::move(text));
    if (is_event(*frame)) return broadcast(frame);
    handle_response(frame);
}

void Relay::handle_response(const frame_body_t& frame) {
    const auto found = find_response_id(*frame);
    if (!found) {
        // An answer to nobody: the library could not tell which message it complains about.
        logkit1::log(logkit1::level_t::warning, "Dropped a message of the library without a request id: " +
                                                    portkit2::terminal_text(frame->substr(0, 300)));
        return;
    }
    const auto request = take_pending(std::string(found->id));
    if (request.empty()) return; // its tab has gone
    request.mapped().tab->send(with_response_id(frame, *found, request.mapped().own_id));
}

Relay::pending_t::node_type Relay::take_pending(const std::string& id) {
    auto request = m_pending.extract(id);
    if (request.empty()) return request;
    auto& of_tab = m_pending_by_tab[request.mapped().tab];
    const auto [begin, end] = of_tab.equal_range(request.mapped().own_id);
    for (auto each = begin; each != end; ++each) {
        if (each->second != id) continue;
        of_tab.erase(each);
        break;
    }
    return request;
}

void Relay::broadcast(const frame_body_t& frame) {
    for (ITab* tab : m_tabs)
        tab->send(OutgoingText(frame));
}

std::string Relay::new_id() {
    return m_id_prefix + std::to_string(++m_last_id);
}

std::size_t Relay::pending_of(ITab& tab) const {
    const auto requests = m_pending_by_tab.find(&tab);
    return requests == m_pending_by_tab.end() ? 0 : requests->second.size();
}

} // namespace panedeck::guiserver
