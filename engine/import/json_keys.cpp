#include "import/json_keys.h"

namespace panedeck::engine {

namespace {

constexpr std::string_view white = " \t\r\n";
constexpr std::size_t enough_keys = 64;

// Takes a text in quotes off the front, without them; what is cut off is taken as it is.
std::string_view takeQuoted(std::string_view& text) {
    std::size_t end = 1;
    while (end < text.size() && text[end] != '"')
        end += text[end] == '\\' ? 2 : 1;
    const std::string_view quoted = text.substr(1, end - 1);
    text.remove_prefix(end < text.size() ? end + 1 : text.size());
    return quoted;
}

bool isKey(std::string_view behind) {
    const std::size_t next = behind.find_first_not_of(white);
    return next != behind.npos && behind[next] == ':';
}

} // namespace

std::vector<std::string_view> outermostJsonKeys(std::string_view text) {
    const std::size_t begin = text.find_first_not_of(white);
    if (begin == text.npos || (text[begin] != '{' && text[begin] != '[')) return {};
    const std::size_t key_depth = text[begin] == '{' ? 1 : 2;
    text.remove_prefix(begin);
    std::vector<std::string_view> keys;
    std::size_t depth = 0;
    while (!text.empty() && keys.size() < enough_keys) {
        if (text.front() == '"') {
            const std::string_view quoted = takeQuoted(text);
            if (depth == key_depth && isKey(text)) keys.push_back(quoted);
            continue;
        }
        if (text.front() == '{' || text.front() == '[') ++depth;
        if ((text.front() == '}' || text.front() == ']') && --depth < key_depth) break;
        text.remove_prefix(1);
    }
    return keys;
}

} // namespace panedeck::engine
