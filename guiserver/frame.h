#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace panedeck::guiserver {

/// A frame's text as the library sent it, shared by everything that still has to pass it on.
using frame_body_t = std::shared_ptr<const std::string>;

/// A text on its way to a tab: a small head of its own, then a body from `m_offset` on. So a frame of 100 MiB
/// gets another request id, or goes to ten tabs, without being copied.
class OutgoingText {
public:
    OutgoingText(std::string head, frame_body_t body, std::size_t offset)
        : m_head(std::move(head)), m_body(std::move(body)), m_offset(offset) {}
    explicit OutgoingText(frame_body_t body) : OutgoingText({}, std::move(body), 0) {}
    explicit OutgoingText(std::string text) : OutgoingText(std::move(text), nullptr, 0) {}

    std::string_view head() const { return m_head; }
    std::string_view rest() const {
        return m_body ? std::string_view(*m_body).substr(m_offset) : std::string_view();
    }
    std::size_t size() const { return head().size() + rest().size(); }
    /// The whole text in one piece: a copy.
    std::string text() const { return std::string(head()).append(rest()); }

private:
    std::string m_head;
    frame_body_t m_body;
    std::size_t m_offset;
};

} // namespace panedeck::guiserver
