#include "import/perf_script_importer.h"

#include "import/line_reader.h"
#include "import/perf_script_sample.h"
#include "import/perf_script_shape.h"
#include "import/text_lines.h"

#include <ctime>
#include <iomanip>
#include <locale>
#include <sstream>

namespace panedeck::engine {

namespace {

bool isWholeFrame(std::string_view text) {
    const auto frame = parsePerfFrame(text);
    return frame && frame->has_module_text;
}

/// Tells lines apart by what they look like and by what came before, and hands them on.
class PerfScriptReading {
public:
    PerfScriptReading(const PerfScriptShape& shape, ProfileBuilder& builder, ImportReport& report,
                      const ImportLimits& limits)
        : m_shape(shape), m_report(report), m_samples(builder, report, limits) {}

    void addLine(std::string_view line, std::uint64_t number);
    void addTooLongLine(std::uint64_t number);
    void finish();

private:
    void addComment(std::string_view line);
    bool addFrame(const PerfFrame& frame, std::uint64_t number);
    void addOther(std::string_view line, std::uint64_t number);
    void addHeader(const PerfHeader& header, std::uint64_t number);
    void skip(std::string_view line, std::uint64_t number);
    void lose(std::string_view why, std::uint64_t number);
    void settleDoubtful(bool is_header);

    PerfScriptShape m_shape;
    ImportReport& m_report;
    PerfScriptSamples m_samples;
    /// A line that is a header if a frame follows.
    std::string m_doubtful;
    std::uint64_t m_doubtful_line = 0;
    std::uint64_t m_lines = 0; ///< but blank ones and comments
};

void PerfScriptReading::addLine(std::string_view line, std::uint64_t number) {
    if (trimmedLeft(line).empty()) {
        settleDoubtful(false);
        m_samples.end();
        return;
    }
    if (line.starts_with('#')) return addComment(line);
    ++m_lines;
    const auto frame = parsePerfFrame(line);
    if (m_doubtful_line) settleDoubtful(frame && (isBlank(line.front()) || frame->has_module_text));
    // A tab begins frames only; blanks begin frames and commands set to the right.
    const bool surely_frame = frame && line.front() == '\t';
    if (!surely_frame) {
        const auto header = parsePerfHeader(line);
        const bool rather_frame = m_samples.is_open() && frame && frame->has_module_text;
        if (header && (header->time || !rather_frame)) return addHeader(*header, number);
        if (m_shape.has_single_lines)
            if (const auto single = parsePerfSingleLine(line)) return m_samples.begin(*single, number);
    }
    if (frame && addFrame(*frame, number)) return;
    addOther(line, number);
}

// `# captured on    : Wed Aug 15 16:01:24 2018`
void PerfScriptReading::addComment(std::string_view line) {
    constexpr std::string_view key = "# captured on";
    if (!line.starts_with(key) || !m_report.taken.empty()) return;
    std::istringstream text{std::string(trimmedLeft(line.substr(line.find(':') + 1)))};
    text.imbue(std::locale::classic());
    std::tm time{};
    text >> std::get_time(&time, "%a %b %d %H:%M:%S %Y");
    if (!text) return;
    char written[32];
    m_report.taken.assign(written, std::strftime(written, sizeof(written), "%Y-%m-%dT%H:%M:%S", &time));
}

bool PerfScriptReading::addFrame(const PerfFrame& frame, std::uint64_t number) {
    if (m_shape.has_only_frames && (m_shape.has_single_lines || !m_samples.is_open()))
        m_samples.begin({}, number);
    if (m_samples.is_open()) m_samples.addFrame(frame);
    return m_samples.is_open();
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
    if (isWholeFrame(line)) return lose("frame outside a sample", number);
    if (isOtherPerfRecord(line) || isPerfSourceLine(line)) return skip(line, number);
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
    if (isOtherPerfRecord(line)) return m_report.skip("other record (PERF_RECORD_)", number);
    if (isPerfSourceLine(line)) return m_report.skip("source code", number);
    lose("neither header nor frame", number);
}

void PerfScriptReading::lose(std::string_view why, std::uint64_t number) {
    m_report.skip(why, number);
    ++m_report.lines_lost;
}

void PerfScriptReading::addTooLongLine(std::uint64_t number) {
    settleDoubtful(false);
    ++m_lines;
    if (m_samples.is_open())
        m_samples.damage("sample with a line that is too long");
    else
        lose("too long", number);
}

void PerfScriptReading::finish() {
    settleDoubtful(false);
    m_samples.end();
    m_samples.finish();
    m_report.lines_understood = m_lines - m_report.lines_lost;
}

} // namespace

FormatScore PerfScriptImporter::score(const TextBeginning& beginning) const {
    return perfScriptShapeOf(beginning).score;
}

ImportOutcome PerfScriptImporter::import(TextInput& input, ProfileBuilder& builder,
                                         ImportReport& report) const {
    PerfScriptReading reading(perfScriptShapeOf({input.ahead(), input.at_end()}), builder, report,
                              input.limits());
    LineReader lines(input);
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
