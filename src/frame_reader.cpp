#include "frame_reader.h"

#include <algorithm>
#include <utility>

namespace panedeck {

namespace {

constexpr std::string_view frame_end = "</msg>";
constexpr std::string_view frame_start = "<msg";

/// So many bytes at the end of a text may be the beginning of either mark.
constexpr std::size_t longest_partial_mark = frame_end.size() - 1;

/// An emptied buffer of more than this is given back.
constexpr std::size_t kept_capacity = 1024 * 1024;

} // namespace

void FrameReader::append(std::string_view bytes) {
    m_buffer.erase(0, std::exchange(m_begin, 0));
    m_buffer.append(bytes);
}

std::optional<FrameReader::Frame> FrameReader::next() {
    for (;;) {
        const auto size = find_frame_size();
        if (size.value_or(pending().size()) > m_limit) {
            if (auto overlong = give_up_overlong()) return overlong;
        } else if (!size) {
            if (m_dropping) drop_to_last_start();
            m_searched = pending().size() - std::min(pending().size(), longest_partial_mark);
            return std::nullopt;
        } else if (!m_dropping) {
            return take_frame(*size);
        } else if (auto frame = take_behind_overlong(*size)) {
            return frame;
        }
    }
}

std::optional<std::size_t> FrameReader::find_frame_size() {
    const std::size_t end = pending().find(frame_end, m_searched);
    if (end != std::string_view::npos) return end + frame_end.size();
    return std::nullopt;
}

/// Too many bytes without an end. Bytes of a lost connection go first: the frame behind them may be a good
/// one.
std::optional<FrameReader::Frame> FrameReader::give_up_overlong() {
    if (m_leftover > 0) {
        consume(m_leftover);
        return std::nullopt;
    }
    consume(m_limit - longest_partial_mark);
    if (std::exchange(m_dropping, true)) return std::nullopt;
    Frame overlong;
    overlong.kind = Frame::Kind::too_long;
    return overlong;
}

std::optional<FrameReader::Frame> FrameReader::take_behind_overlong(std::size_t size) {
    m_dropping = false;
    const std::size_t start = pending().substr(0, size).rfind(frame_start);
    if (start == std::string_view::npos) {
        consume(size);
        return std::nullopt;
    }
    consume(start);
    return take_frame(size - start);
}

FrameReader::Frame FrameReader::take_frame(std::size_t size) {
    Frame frame;
    frame.leftover = std::min(size, m_leftover);
    if (m_begin == 0 && size == m_buffer.size())
        frame.text.swap(m_buffer);
    else
        frame.text = pending().substr(0, size);
    consume(size);
    return frame;
}

/// While bytes are dropped only a frame that has begun is kept. All that was searched before is free of
/// starts but for one at the front.
void FrameReader::drop_to_last_start() {
    const std::string_view bytes = pending();
    const std::size_t unsearched = m_searched - std::min(m_searched, frame_start.size());
    const std::size_t start = bytes.substr(unsearched).rfind(frame_start);
    if (start != std::string_view::npos)
        consume(unsearched + start);
    else if (!bytes.starts_with(frame_start))
        consume(bytes.size() - std::min(bytes.size(), longest_partial_mark));
}

void FrameReader::consume(std::size_t size) {
    m_begin = std::min(m_begin + size, m_buffer.size());
    m_leftover -= std::min(m_leftover, size);
    m_searched -= std::min(m_searched, size);
    if (m_buffer.capacity() <= kept_capacity || pending().size() > kept_capacity / 2) return;
    m_buffer = ustring8(pending());
    m_begin = 0;
}

} // namespace panedeck
