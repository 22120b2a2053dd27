#include "import/perf_script_shape.h"

#include "import/perf_script_line.h"
#include "import/text_lines.h"

namespace panedeck::engine {

namespace {

/// Goes through the lines and counts those that fit together as samples.
class ShapeReading {
public:
    void add(std::string_view line);
    void addBlank();
    PerfScriptShape shape() const;

private:
    /// What the line before was.
    enum class After {
        nothing,
        header,          ///< it looks like a header, but others write such lines too: a frame decides
        doubtful_header, ///< any other line: a header if an indented frame follows
        sample           ///< a frame, or a header that needs none
    };

    void addHeader(const PerfHeader& header);
    bool addFrame(std::string_view line, const PerfFrame& frame);
    bool isInPlace(std::string_view line, const PerfFrame& frame) const;
    void addOther(std::string_view line);
    bool addHeaderWithFrame(std::string_view line);

    FormatScore m_score;
    After m_after = After::nothing;
    bool m_is_proven = false;
    std::size_t m_headers = 0;
    std::size_t m_single_lines = 0;
    std::size_t m_frames = 0;
    std::size_t m_frame_runs = 0; ///< frames and those behind them that no header begins
    bool m_has_tabbed_frames = false;
};

void ShapeReading::add(std::string_view line) {
    ++m_score.lines;
    const auto frame = parsePerfFrame(line);
    const bool is_tabbed = line.front() == '\t';
    if (frame && is_tabbed && addFrame(line, *frame)) return;
    const auto header = parsePerfHeader(line);
    if (header && header->time) return addHeader(*header);
    if (!is_tabbed && parsePerfSingleLine(line)) {
        ++m_single_lines;
        ++m_score.understood;
        m_is_proven = true;
        m_after = After::sample;
        return;
    }
    if (frame && addFrame(line, *frame)) return;
    // Behind the event stands nothing, an address or a frame; other lines go on with words.
    if (header && (header->rest.empty() || parsePerfFrame(header->rest))) return addHeader(*header);
    addOther(line);
}

void ShapeReading::addBlank() {
    m_after = After::nothing;
}

void ShapeReading::addHeader(const PerfHeader& header) {
    const auto frame = parsePerfFrame(header.rest);
    const bool is_whole = header.time && header.tid && !header.event.empty();
    const bool has_frame = frame && isSurelyAddress(frame->address) && !frame->symbol.empty();
    m_score.understood += is_whole || has_frame || header.is_other_record;
    m_headers += is_whole || has_frame;
    m_is_proven |= is_whole || has_frame;
    m_after = is_whole || has_frame ? After::sample : header.is_other_record ? After::nothing : After::header;
}

// Words such as "add", and all numbers, are hexadecimal too: that a text holds frames is proven by an address
// that is nothing else, or by a module behind a frame that stands where frames do.
bool ShapeReading::addFrame(std::string_view line, const PerfFrame& frame) {
    if (!mayBeAddress(frame.address) || !isInPlace(line, frame)) return false;
    const bool has_header = m_after == After::header || m_after == After::doubtful_header;
    m_is_proven |= isSurelyAddress(frame.address) ||
                   (frame.has_module_text && (line.front() == '\t' || m_after == After::header));
    m_has_tabbed_frames |= line.front() == '\t';
    m_headers += has_header;
    m_frame_runs += m_after == After::nothing;
    ++m_frames;
    m_score.understood += 1 + has_header;
    m_after = After::sample;
    return true;
}

// Frames are indented, unless a header shows that the text lost its indents; a frame without its module has
// to be set as `perf script` sets it.
bool ShapeReading::isInPlace(std::string_view line, const PerfFrame& frame) const {
    const bool is_in_sample = m_after == After::header || m_after == After::sample;
    if (frame.has_module_text) return isBlank(line.front()) || is_in_sample;
    return !frame.symbol.empty() && isPerfFrameColumn(line, frame.address);
}

void ShapeReading::addOther(std::string_view line) {
    if (isOtherPerfRecord(line)) {
        ++m_score.understood;
        m_after = After::nothing;
    } else if (addHeaderWithFrame(line)) {
        m_after = After::sample;
    } else if (m_after == After::sample) {
        m_score.understood += isPerfSourceLine(line);
    } else {
        m_after = After::doubtful_header;
    }
}

bool ShapeReading::addHeaderWithFrame(std::string_view line) {
    const auto frame = parsePerfFrame(parseLoosePerfHeader(line).rest);
    if (!frame || !isSurelyAddress(frame->address)) return false;
    ++m_headers;
    ++m_score.understood;
    m_is_proven = true;
    return true;
}

PerfScriptShape ShapeReading::shape() const {
    PerfScriptShape shape;
    shape.score = m_score;
    if (!m_is_proven) shape.score.understood = 0;
    shape.has_only_frames = m_headers == 0 && m_single_lines == 0 && m_frames > 0;
    // Frames that no blank line parts, and that no tab begins as it does in stacks.
    const bool has_lone_frames = shape.has_only_frames && m_frame_runs == 1 && !m_has_tabbed_frames;
    shape.has_single_lines = has_lone_frames || m_single_lines > m_headers;
    return shape;
}

} // namespace

PerfScriptShape perfScriptShapeOf(const TextBeginning& beginning) {
    std::string_view text = beginning.text;
    std::string_view line;
    ShapeReading reading;
    while (takeLine(text, beginning.is_complete, line)) {
        if (line.starts_with('#')) continue;
        if (trimmedLeft(line).empty())
            reading.addBlank();
        else
            reading.add(line);
    }
    return reading.shape();
}

} // namespace panedeck::engine
