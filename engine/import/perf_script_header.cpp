#include "import/perf_script_line.h"
#include "import/text_lines.h"

#include <array>
#include <charconv>

namespace panedeck::engine {

namespace {

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isDigits(std::string_view text) {
    for (const char c : text)
        if (!isDigit(c)) return false;
    return !text.empty();
}

/// The first words of a line; a header's fields lie among them.
class Words {
public:
    explicit Words(std::string_view line) : m_line(line) {
        std::size_t at = 0;
        while (m_count < m_words.size()) {
            while (at < line.size() && isBlank(line[at]))
                ++at;
            if (at == line.size()) break;
            const std::size_t begin = at;
            while (at < line.size() && !isBlank(line[at]))
                ++at;
            m_words[m_count++] = line.substr(begin, at - begin);
        }
    }

    std::size_t count() const { return m_count; }
    std::string_view operator[](std::size_t i) const { return m_words[i]; }

    /// How far behind the end of the word before a word ends.
    std::size_t width(std::size_t i) const {
        return offset(i) + m_words[i].size() - offset(i - 1) - m_words[i - 1].size();
    }

    /// The line up to a word.
    std::string_view before(std::size_t i) const { return trimmed(m_line.substr(0, offset(i))); }
    /// The line from a word on.
    std::string_view from(std::size_t i) const { return trimmedRight(m_line.substr(offset(i))); }

private:
    std::size_t offset(std::size_t i) const {
        return i < m_count ? static_cast<std::size_t>(m_words[i].data() - m_line.data()) : m_line.size();
    }

    std::string_view m_line;
    std::array<std::string_view, 32> m_words;
    std::size_t m_count = 0;
};

template <class Integer>
bool parseWhole(std::string_view text, Integer& value) {
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    return result.ec == std::errc() && result.ptr == text.data() + text.size();
}

// `TID` or `PID/TID`.
bool parseIds(std::string_view word, PerfHeader& header) {
    std::int32_t first = 0;
    std::int32_t second = 0;
    const std::size_t slash = word.find('/');
    if (!parseWhole(word.substr(0, slash), first)) return false;
    if (slash == word.npos) {
        header.tid = first;
        return true;
    }
    if (!parseWhole(word.substr(slash + 1), second)) return false;
    header.pid = first;
    header.tid = second;
    return true;
}

// `SECONDS.FRACTION:`; digits beyond nanoseconds are dropped.
std::optional<std::int64_t> parseTime(std::string_view word) {
    if (!word.ends_with(':')) return std::nullopt;
    word.remove_suffix(1);
    const std::size_t point = word.find('.');
    if (point == word.npos || !isDigits(word.substr(0, point)) || !isDigits(word.substr(point + 1)))
        return std::nullopt;
    std::int64_t time = 0;
    if (!parseWhole(word.substr(0, point), time)) return std::nullopt;
    std::string_view fraction = word.substr(point + 1);
    for (int digit = 0; digit < 9; ++digit) {
        const int value = fraction.empty() ? 0 : fraction.front() - '0';
        if (!fraction.empty()) fraction.remove_prefix(1);
        if (__builtin_mul_overflow(time, 10, &time) || __builtin_add_overflow(time, value, &time))
            return std::nullopt;
    }
    return time;
}

bool isHexadecimal(std::string_view word) {
    return word.find_first_not_of("0123456789abcdefABCDEF") == word.npos;
}

bool isCpu(std::string_view word) {
    return word.size() > 2 && word.front() == '[' && word.back() == ']' &&
           isDigits(word.substr(1, word.size() - 2));
}

bool isIds(std::string_view word) {
    PerfHeader unused;
    return parseIds(word, unused);
}

bool isPeriod(std::string_view word) {
    SampleWeight unused;
    return parseWeight(word, unused) != WeightStatus::not_a_number;
}

void setPeriod(std::string_view word, PerfHeader& header) {
    header.has_period = true;
    header.period_status = parseWeight(word, header.period);
}

bool isEvent(std::string_view word) {
    return word.size() > 1 && word.ends_with(':');
}

bool isWholeFrame(std::string_view text) {
    const auto frame = parsePerfFrame(text);
    return frame && frame->has_module_text;
}

// What stands in front of the time: command, ids, CPU and, behind the CPU, flags of some formats.
void parseBeforeTime(const Words& words, std::size_t end, PerfHeader& header) {
    for (std::size_t i = end; i-- > 0;)
        if (isCpu(words[i])) {
            end = i;
            break;
        }
    if (end > 0 && parseIds(words[end - 1], header)) --end;
    header.command = words.before(end);
}

// What follows the time or the ids: period, event, and the rest of the line.
void parseAfterTime(const Words& words, std::size_t at, PerfHeader& header) {
    if (at < words.count() && words[at].starts_with("PERF_RECORD_")) {
        header.is_other_record = true;
        return;
    }
    // An address may be all decimal digits: a period is the last word or has an event or a frame behind it.
    if (at < words.count() && isPeriod(words[at]) &&
        (at + 1 == words.count() || isEvent(words[at + 1]) || isWholeFrame(words.from(at + 1))))
        setPeriod(words[at++], header);
    if (at < words.count() && isEvent(words[at])) {
        header.event = words[at].substr(0, words[at].size() - 1);
        ++at;
    }
    header.rest = words.from(at);
}

// Ids, CPU and period in front of the event at `end`; false if there are no ids.
bool parseBeforeEvent(const Words& words, std::size_t end, PerfHeader& header) {
    if (end >= 2 && isPeriod(words[end - 1]) && (isCpu(words[end - 2]) || isIds(words[end - 2])))
        setPeriod(words[--end], header);
    if (end >= 1 && isCpu(words[end - 1])) --end;
    if (end == 0 || !parseIds(words[end - 1], header)) return false;
    header.command = words.before(end - 1);
    return true;
}

std::optional<PerfHeader> parseWithEvent(const Words& words) {
    for (std::size_t i = 0; i < words.count(); ++i) {
        PerfHeader header;
        if (!isEvent(words[i]) || !parseBeforeEvent(words, i, header)) continue;
        header.event = words[i].substr(0, words[i].size() - 1);
        header.rest = words.from(i + 1);
        header.is_other_record = header.event.starts_with("PERF_RECORD_");
        return header;
    }
    return std::nullopt;
}

// Addresses are set to the right in 16 columns, behind a blank. Other numbers of 16 digits are ids: a whole
// address begins with the bits of the kernel.
bool isPaddedAddress(const Words& words, std::size_t i) {
    constexpr std::size_t columns = 16;
    return words.width(i) > columns && isSurelyAddress(words[i]) && isHexadecimal(words[i]) &&
           (words[i].size() < columns || words[i].starts_with("ffff"));
}

// What stands in front of the first frame at `end`: event, ids, CPU and period, command.
void parseBeforeFrame(const Words& words, std::size_t end, PerfHeader& header) {
    if (end > 0 && isEvent(words[end - 1])) {
        header.event = words[--end];
        header.event.remove_suffix(1);
    }
    if (!parseBeforeEvent(words, end, header)) header.command = words.before(end);
}

bool mayBeHeader(std::string_view line) {
    for (std::size_t at = line.find(':'); at != line.npos; at = line.find(':', at + 1))
        if (at + 1 == line.size() || isBlank(line[at + 1])) return true;
    return false;
}

} // namespace

std::optional<PerfHeader> parsePerfHeader(std::string_view line) {
    if (!mayBeHeader(line)) return std::nullopt;
    const Words words(line);
    for (std::size_t i = 0; i < words.count(); ++i) {
        PerfHeader header;
        header.time = parseTime(words[i]);
        if (!header.time) continue;
        parseBeforeTime(words, i, header);
        parseAfterTime(words, i + 1, header);
        return header;
    }
    return parseWithEvent(words);
}

PerfHeader parseLoosePerfHeader(std::string_view line) {
    const Words words(line);
    PerfHeader header;
    std::size_t end = words.count();
    // The only frame on the line: `COMMAND TID ADDRESS SYMBOL (MODULE)`.
    for (std::size_t i = 1; i < words.count(); ++i)
        if ((isIds(words[i - 1]) || isCpu(words[i - 1])) && isWholeFrame(words.from(i))) {
            header.rest = words.from(i);
            end = i;
            break;
        }
    parseBeforeFrame(words, end, header);
    return header;
}

std::optional<PerfHeader> parsePerfSingleLine(std::string_view line) {
    const Words words(line);
    for (std::size_t i = 1; i + 1 < words.count(); ++i) {
        if (!isPaddedAddress(words, i)) continue;
        PerfHeader header;
        header.rest = words.from(i);
        parseBeforeFrame(words, i, header);
        return header;
    }
    return std::nullopt;
}

} // namespace panedeck::engine
