#include "session/export_file_name.h"

#include "portkit/terminal_text.h"

#include <algorithm>

namespace panedeck::host {

namespace {

constexpr std::string_view ending = ".csv";
constexpr std::size_t longestStem = 100 - ending.size();

/// Without leading and trailing dots and blanks: the first hide a file, the last are lost on some systems.
std::string_view trimmed(std::string_view name) {
    constexpr std::string_view dropped = ". ";
    const auto begin = std::min(name.find_first_not_of(dropped), name.size());
    name.remove_prefix(begin);
    return name.substr(0, name.find_last_not_of(dropped) + 1);
}

std::string_view withoutEnding(std::string_view name) {
    const bool hasEnding = name.size() >= ending.size() &&
                           portkit2::lower_case(name.substr(name.size() - ending.size())) == ending;
    return hasEnding ? name.substr(0, name.size() - ending.size()) : name;
}

} // namespace

std::string exportFileName(std::string_view wish) {
    std::string name = portkit2::terminal_text(wish);
    std::replace_if(
        name.begin(), name.end(),
        [](char c) { return std::string_view("/\\:*?\"<>|").find(c) != std::string_view::npos; }, '_');
    std::string_view stem = withoutEnding(trimmed(name)).substr(0, longestStem);
    stem = trimmed(stem.substr(0, portkit2::valid_utf8_prefix(stem)));
    return std::string(stem.empty() ? "export" : stem).append(ending);
}

} // namespace panedeck::host
