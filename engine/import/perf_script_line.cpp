#include "import/perf_script_line.h"

#include "import/text_lines.h"

#include <algorithm>

namespace panedeck::engine {

namespace {

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isHexadecimal(std::string_view word) {
    return !word.empty() && word.find_first_not_of("0123456789abcdefABCDEF") == word.npos;
}

// Of 64 bits.
constexpr std::size_t longest_address = 16;
// Numbers and words of a text are shorter.
constexpr std::size_t sure_length = 12;

} // namespace

bool mayBeAddress(std::string_view word) {
    if (word.starts_with("0x")) return true;
    return word.size() <= longest_address && std::ranges::any_of(word, isDigit);
}

bool isSurelyAddress(std::string_view word) {
    if (word.starts_with("0x")) return true;
    if (!mayBeAddress(word)) return false;
    return word.size() >= sure_length || !std::ranges::all_of(word, isDigit);
}

bool isPerfFrameColumn(std::string_view line, std::string_view address) {
    if (line.starts_with('\t')) return line.size() > 1 && line[1] != '\t';
    const auto begin = static_cast<std::size_t>(address.data() - line.data());
    return begin > 0 && begin + address.size() >= longest_address;
}

bool isOtherPerfRecord(std::string_view line) {
    line = trimmedLeft(line);
    return line.starts_with("PERF_RECORD_") || line.find(" PERF_RECORD_") != line.npos;
}

bool isPerfSourceLine(std::string_view line) {
    if (trimmedLeft(line).starts_with('|')) return true;
    if (!isBlank(line.front())) return false;
    line = trimmed(line);
    const std::size_t bracket = line.rfind('[');
    if (line.ends_with(']') && bracket != line.npos)
        return line.find_first_of(blanks) == line.npos &&
               isHexadecimal(line.substr(bracket + 1, line.size() - bracket - 2));
    const std::size_t colon = line.rfind(':');
    return colon != line.npos && colon + 1 < line.size() &&
           std::ranges::all_of(line.substr(colon + 1), isDigit);
}

} // namespace panedeck::engine
