#include "tree/grouping_path.h"

#include <algorithm>
#include <array>

namespace panedeck::engine {

namespace {

constexpr std::array<std::string_view, 7> segment_names{
    "Process", "Thread", "Module", "SourceFile", "Function", "CallStack", "ParentCallStack"};

} // namespace

std::string_view segmentName(Segment segment) {
    return segment_names[static_cast<std::size_t>(segment)];
}

std::optional<Segment> findSegment(std::string_view name) {
    const auto found = std::ranges::find(segment_names, name);
    if (found == segment_names.end()) return std::nullopt;
    return static_cast<Segment>(found - segment_names.begin());
}

std::optional<GroupingPath> parseGroupingPath(std::string_view text) {
    GroupingPath path;
    while (!text.empty()) {
        if (text.front() != '/') return std::nullopt;
        text.remove_prefix(1);
        const std::size_t length = std::min(text.find('/'), text.size());
        const std::optional<Segment> segment = findSegment(text.substr(0, length));
        const bool fits = segment && std::ranges::find(path, *segment) == path.end() &&
                          (path.empty() || !isRecursive(path.back()));
        if (!fits) return std::nullopt;
        path.push_back(*segment);
        text.remove_prefix(length);
    }
    if (path.empty()) return std::nullopt;
    return path;
}

std::string groupingPathText(const GroupingPath& path, std::size_t first_level) {
    std::string text;
    for (std::size_t level = first_level; level < path.size(); ++level)
        text.append("/").append(segmentName(path[level]));
    return text;
}

} // namespace panedeck::engine
