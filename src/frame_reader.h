#pragma once

#include "portkit/ustring8.h"

#include <cstddef>
#include <optional>
#include <string_view>

namespace panedeck {

/// Cuts the bytes that come from the GUI server into frames: bytes in, frames out, no socket.
///
/// A frame is everything up to and including the first "</msg>". What was searched once is not searched
/// again, so a frame that trickles in costs as much as one that comes at once. A frame may take 128 MiB; of a
/// longer one the reader says so once, forgets it and then drops bytes: the next text that ends in "</msg>"
/// is taken from its last "<msg".
///
/// Belongs to one thread.
class FrameReader {
public:
    static constexpr std::size_t max_frame_size = 128 * 1024 * 1024;

    struct Frame {
        enum class Kind {
            complete, ///< `text` ends in "</msg>"
            too_long  ///< no end within the limit; reported once for each such frame, `text` is empty
        };
        Kind kind = Kind::complete;
        ustring8 text;
        /// How many bytes at the front of `text` came over connections that broke since.
        std::size_t leftover = 0;
    };

    explicit FrameReader(std::size_t limit = max_frame_size) : m_limit(limit) {}

    /// Takes in what was read. Call `next` until it gives nothing before more is appended.
    void append(std::string_view bytes);

    /// The next frame, if there is one.
    std::optional<Frame> next();

    /// The connection broke: the bytes of an incomplete frame stay, but are known as leftover from now on.
    void connection_lost() { m_leftover = pending().size(); }

private:
    std::string_view pending() const { return std::string_view(m_buffer).substr(m_begin); }
    std::optional<std::size_t> find_frame_size();
    std::optional<Frame> give_up_overlong();
    std::optional<Frame> take_behind_overlong(std::size_t size);
    Frame take_frame(std::size_t size);
    void drop_to_last_start();
    void consume(std::size_t size);

    const std::size_t m_limit;
    ustring8 m_buffer; ///< pending bytes begin at `m_begin`
    std::size_t m_begin = 0;
    std::size_t m_searched = 0; ///< no end of a frame begins within this many pending bytes
    std::size_t m_leftover = 0; ///< pending bytes of earlier connections
    bool m_dropping = false;    ///< behind the limit of a frame that was too long
};

} // namespace panedeck
