#include "import/perf_script_line.h"
#include "import/text_lines.h"

namespace panedeck::engine {

namespace {

bool isHexDigit(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

// Length of the address that begins the text, 0 if there is none.
std::size_t addressLength(std::string_view text) {
    const std::size_t prefix = text.starts_with("0x") ? 2 : 0;
    std::size_t end = prefix;
    while (end < text.size() && isHexDigit(text[end]))
        ++end;
    return end > prefix && (end == text.size() || isBlank(text[end])) ? end : 0;
}

// Where the last parenthesised group of a text that ends in `)` begins. Parentheses that do not balance leave
// the last one that a blank precedes.
std::size_t lastGroup(std::string_view text) {
    std::size_t depth = 0;
    for (std::size_t at = text.size(); at-- > 0;) {
        if (text[at] == ')') ++depth;
        if (text[at] == '(' && --depth == 0) return at;
    }
    const std::size_t found = text.rfind(" (");
    return found == text.npos ? text.npos : found + 1;
}

std::string_view withoutOffset(std::string_view symbol) {
    const std::size_t plus = symbol.rfind("+0x");
    if (plus == symbol.npos || plus + 3 == symbol.size()) return symbol;
    for (const char c : symbol.substr(plus + 3))
        if (!isHexDigit(c)) return symbol;
    return symbol.substr(0, plus);
}

void setModule(PerfFrame& frame, std::string_view module) {
    frame.has_module_text = true;
    frame.is_inlined = module == "inlined";
    if (!frame.is_inlined && module != "[unknown]") frame.module = module;
}

} // namespace

std::optional<PerfFrame> parsePerfFrame(std::string_view text) {
    text = trimmed(text);
    const std::size_t address = addressLength(text);
    if (!address) return std::nullopt;
    PerfFrame frame;
    frame.address = text.substr(0, address);
    text = trimmedLeft(text.substr(address));
    const std::size_t group = text.ends_with(')') ? lastGroup(text) : text.npos;
    // A group that touches the symbol is its parameter list.
    if (group != text.npos && (group == 0 || isBlank(text[group - 1]))) {
        setModule(frame, text.substr(group + 1, text.size() - group - 2));
        text = trimmedRight(text.substr(0, group));
    }
    frame.symbol = withoutOffset(text);
    return frame;
}

} // namespace panedeck::engine
