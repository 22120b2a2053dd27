#include "import/perf_script_importer.h"

#include "import/line_reader.h"
#include "import/perf_script_sample.h"
#include "import/text_lines.h"

namespace panedeck::engine {

namespace {

bool isWholeFrame(std::string_view text) {
    const auto frame = parsePerfFrame(text);
    return frame && frame->has_module_text;
}

bool isOtherRecord(std::string_view line) {
    line = trimmedLeft(line);
    return line.starts_with("PERF_RECORD_") || line.find(" PERF_RECORD_") != line.npos;
}

// `  main.c:12`, as the field `srcline` prints it, or `|12  code`, as `srccode` does.
bool isSourceLine(std::string_view line) {
    if (trimmedLeft(line).starts_with('|')) return true;
    if (!isBlank(line.front())) return false;
    line = trimmed(line);
    const std::size_t colon = line.rfind(':');
    return colon != line.npos && colon + 1 < line.size() &&
           line.find_first_not_of("0123456789", colon + 1) == line.npos;
}

/// Tells lines apart by what they look like and by what came before, and hands them on.
class PerfScriptReading {
public:
    PerfScriptReading(ProfileBuilder& builder, ImportReport& report, const ImportLimits& limits)
        : m_report(report), m_samples(builder, report, limits) {}

    void addLine(std::string_view line, std::uint64_t number);
    void addTooLongLine(std::uint64_t number);
    void finish();

private:
    void addOther(std::string_view line, std::uint64_t number);
    void addHeader(const PerfHeader& header, std::uint64_t number);
    void skip(std::string_view line, std::uint64_t number);
    void settleDoubtful(bool is_header);

    ImportReport& m_report;
    PerfScriptSamples m_samples;
    /// A line that is a header if a frame follows.
    std::string m_doubtful;
    std::uint64_t m_doubtful_line = 0;
};

void PerfScriptReading::addLine(std::string_view line, std::uint64_t number) {
    if (trimmedLeft(line).empty()) {
        settleDoubtful(false);
        m_samples.end();
        return;
    }
    if (line.starts_with('#')) return;
    const auto frame = parsePerfFrame(line);
    if (m_doubtful_line) settleDoubtful(frame && (isBlank(line.front()) || frame->has_module_text));
    // A tab begins frames only; blanks begin frames and commands set to the right.
    const bool surely_frame = frame && line.front() == '\t';
    if (!surely_frame) {
        const auto header = parsePerfHeader(line);
        const bool rather_frame = m_samples.is_open() && frame && frame->has_module_text;
        if (header && (header->time || !rather_frame)) return addHeader(*header, number);
    }
    if (m_samples.is_open() && frame) return m_samples.addFrame(*frame);
    addOther(line, number);
}

void PerfScriptReading::addHeader(const PerfHeader& header, std::uint64_t number) {
    if (header.is_other_record) {
        m_samples.end();
        m_report.skip("other record (PERF_RECORD_)", number);
        return;
    }
    m_samples.begin(header, number);
}

void PerfScriptReading::addOther(std::string_view line, std::uint64_t number) {
    if (isWholeFrame(line)) return m_report.skip("frame outside a sample", number);
    if (isOtherRecord(line) || isSourceLine(line)) return skip(line, number);
    const PerfHeader header = parseLoosePerfHeader(line);
    if (isWholeFrame(header.rest)) return m_samples.begin(header, number);
    if (m_samples.is_open()) return skip(line, number);
    m_doubtful.assign(line);
    m_doubtful_line = number;
}

void PerfScriptReading::settleDoubtful(bool is_header) {
    if (!m_doubtful_line) return;
    if (is_header)
        m_samples.begin(parseLoosePerfHeader(m_doubtful), m_doubtful_line);
    else
        skip(m_doubtful, m_doubtful_line);
    m_doubtful_line = 0;
}

void PerfScriptReading::skip(std::string_view line, std::uint64_t number) {
    if (isOtherRecord(line)) return m_report.skip("other record (PERF_RECORD_)", number);
    m_report.skip(isSourceLine(line) ? "source code" : "neither header nor frame", number);
}

void PerfScriptReading::addTooLongLine(std::uint64_t number) {
    settleDoubtful(false);
    if (m_samples.is_open())
        m_samples.damage("sample with a line that is too long");
    else
        m_report.skip("too long", number);
}

void PerfScriptReading::finish() {
    settleDoubtful(false);
    m_samples.end();
    m_samples.finish();
}

} // namespace

// A time with an id before or an event behind it shows a header; what looks less like one needs a frame.
bool PerfScriptImporter::recognises(const TextBeginning& beginning) const {
    std::string_view text = beginning.text;
    std::string_view line;
    bool may_have_frame = false;
    while (takeLine(text, beginning.is_complete, line)) {
        if (line.starts_with('#') || trimmedLeft(line).empty()) continue;
        if (may_have_frame && isWholeFrame(line)) return true;
        const auto header = parsePerfHeader(line);
        if (header && header->time && header->tid && !header->event.empty()) return true;
        const PerfHeader any = header ? *header : parseLoosePerfHeader(line);
        if (isWholeFrame(any.rest)) return true;
        may_have_frame = true;
    }
    return false;
}

ImportOutcome PerfScriptImporter::import(TextInput& input, ProfileBuilder& builder,
                                         ImportReport& report) const {
    LineReader lines(input);
    PerfScriptReading reading(builder, report, input.limits());
    while (lines.next()) {
        if (lines.is_too_long())
            reading.addTooLongLine(lines.number());
        else
            reading.addLine(lines.line(), lines.number());
        if (builder.failure()) return ImportOutcome::refused(lines.number(), builder.failure());
    }
    if (const auto stopped = lines.stopped()) return *stopped;
    reading.finish();
    if (builder.failure()) return ImportOutcome::refused(lines.number(), builder.failure());
    return ImportOutcome::done();
}

} // namespace panedeck::engine
