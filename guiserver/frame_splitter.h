#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace panedeck::guiserver {

/// Cuts the bytes of a library connection at the byte 0x0B, which belongs to no frame. What was searched once
/// is not searched again, and the text of a long frame is handed over without being copied.
class FrameSplitter {
public:
    static constexpr char terminator = '\x0B';

    /// Takes in what was read. Call `next` until it gives nothing before more is appended.
    void append(std::string_view bytes);
    /// The next frame, if one is complete.
    std::optional<std::string> next();
    /// How many bytes wait for their end.
    std::size_t pending_size() const { return m_buffer.size() - m_begin; }

private:
    std::string m_buffer; ///< pending bytes begin at `m_begin`
    std::size_t m_begin = 0;
    std::size_t m_searched = 0; ///< position in `m_buffer` up to which there is no terminator
};

} // namespace panedeck::guiserver
