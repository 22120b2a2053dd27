#include "import/v8_json_handler.h"

#include <array>
#include <charconv>
#include <cmath>
#include <utility>

namespace panedeck::engine {

namespace {

template <class Field, std::size_t count>
Field lookUp(const std::array<std::pair<std::string_view, Field>, count>& table, std::string_view key) {
    for (const auto& [name, field] : table)
        if (name == key) return field;
    return Field::none;
}

// Digits, perhaps with a sign and a fraction; exponents are not written as text.
bool parseV8Number(std::string_view text, V8Number& number) {
    const char* const end = text.data() + text.size();
    std::int64_t whole = 0;
    if (const auto read = std::from_chars(text.data(), end, whole);
        read.ec == std::errc() && read.ptr == end) {
        number = SampleWeight::of(whole);
        return true;
    }
    double decimal = 0;
    const auto read = std::from_chars(text.data(), end, decimal, std::chars_format::fixed);
    number = SampleWeight::of(decimal);
    return read.ec == std::errc() && read.ptr == end;
}

} // namespace

V8JsonHandler::Field V8JsonHandler::documentField(std::string_view key) {
    static constexpr std::array<std::pair<std::string_view, Field>, 5> table{
        {{"nodes", Field::nodes},
         {"head", Field::head},
         {"samples", Field::samples},
         {"timeDeltas", Field::time_deltas},
         {"timestamps", Field::timestamps}}};
    return lookUp(table, key);
}

V8JsonHandler::Field V8JsonHandler::nodeField(std::string_view key) {
    static constexpr std::array<std::pair<std::string_view, Field>, 5> table{
        {{"id", Field::id},
         {"callFrame", Field::call_frame},
         {"hitCount", Field::hit_count},
         {"children", Field::children},
         {"parent", Field::parent}}};
    const Field field = lookUp(table, key);
    return field == Field::none ? callFrameField(key) : field;
}

V8JsonHandler::Field V8JsonHandler::callFrameField(std::string_view key) {
    static constexpr std::array<std::pair<std::string_view, Field>, 4> table{
        {{"functionName", Field::function_name},
         {"url", Field::url},
         {"lineNumber", Field::line_number},
         {"columnNumber", Field::column_number}}};
    return lookUp(table, key);
}

bool V8JsonHandler::isPlainNumber(Field field) {
    return field == Field::hit_count || field == Field::line_number || field == Field::column_number;
}

const char* V8JsonHandler::describe(Field field) {
    static constexpr std::array names{"",           "nodes",        "head",   "samples",    "timeDeltas",
                                      "timestamps", "id",           "parent", "callFrame",  "hitCount",
                                      "children",   "functionName", "url",    "lineNumber", "columnNumber"};
    return names[static_cast<std::size_t>(field)];
}

bool V8JsonHandler::fail(std::string why) {
    m_failure = std::move(why);
    return false;
}

bool V8JsonHandler::wrongKind(const char* kind) {
    if (m_field == Field::none) return fail(std::string("unexpected ") + kind);
    return fail("\"" + std::string(describe(m_field)) + "\" holds " + kind);
}

bool V8JsonHandler::enter(Scope scope, V8NodeIndex node) {
    if (m_levels.size() == m_limits.json_depth) return fail("the JSON is nested too deep");
    m_levels.push_back({scope, node});
    return true;
}

bool V8JsonHandler::ignore() {
    if (++m_ignored_depth + m_levels.size() > m_limits.json_depth) return fail("the JSON is nested too deep");
    return true;
}

bool V8JsonHandler::leave() {
    m_text.markValue();
    if (is_ignored())
        --m_ignored_depth;
    else
        m_levels.pop_back();
    return true;
}

bool V8JsonHandler::Key(const char* text, unsigned size, bool) {
    m_text.markValue();
    if (is_ignored()) return true;
    const std::string_view key(text, size);
    m_field = scope() == Scope::document ? documentField(key)
              : scope() == Scope::node   ? nodeField(key)
                                         : callFrameField(key);
    return true;
}

bool V8JsonHandler::StartObject() {
    m_text.markValue();
    if (is_ignored()) return ignore();
    switch (scope()) {
    case Scope::ignored:
        return enter(Scope::document);
    case Scope::nodes:
        return enterNode(no_v8_node);
    case Scope::child_nodes:
        return enterNode(m_levels.back().node);
    case Scope::document:
    case Scope::node:
    case Scope::call_frame:
        return startMemberObject();
    default:
        return wrongKind("an object");
    }
}

bool V8JsonHandler::startMemberObject() {
    switch (m_field) {
    case Field::none:
        return ignore();
    case Field::head:
        return beginNodes(true) && enterNode(no_v8_node);
    case Field::call_frame:
        return enter(Scope::call_frame, m_levels.back().node);
    default:
        return wrongKind("an object");
    }
}

bool V8JsonHandler::enterNode(V8NodeIndex parent) {
    if (m_document.nodes.size() >= m_limits.stack_nodes) return fail("there are too many nodes");
    const auto index = static_cast<V8NodeIndex>(m_document.nodes.size());
    m_document.nodes.emplace_back().parent = parent;
    return enter(Scope::node, index);
}

bool V8JsonHandler::EndObject(unsigned) {
    if (!is_ignored() && scope() == Scope::node) {
        node().text_line = m_text.line();
        if (!node().id) return fail("a node has no \"id\"");
    }
    return leave();
}

bool V8JsonHandler::StartArray() {
    m_text.markValue();
    if (is_ignored()) return ignore();
    switch (scope()) {
    case Scope::document:
    case Scope::node:
    case Scope::call_frame:
        return startMemberArray();
    case Scope::ignored:
        return fail("the JSON is an array and no CPU profile");
    default:
        return wrongKind("an array");
    }
}

bool V8JsonHandler::startMemberArray() {
    switch (m_field) {
    case Field::none:
        return ignore();
    case Field::nodes:
        return beginNodes(false) && enter(Scope::nodes);
    case Field::samples:
        return beginSamples();
    case Field::time_deltas:
        return beginNumbers(Scope::time_deltas, m_document.time_deltas);
    case Field::timestamps:
        return beginNumbers(Scope::timestamps, m_document.timestamps);
    case Field::children:
        return beginChildren();
    default:
        return wrongKind("an array");
    }
}

bool V8JsonHandler::beginNodes(bool nested) {
    if (m_document.has_nodes) return fail("there is more than one \"nodes\" or \"head\"");
    m_document.has_nodes = true;
    m_document.is_nested = nested;
    return true;
}

bool V8JsonHandler::beginSamples() {
    if (std::exchange(m_has_samples, true)) return fail("there is more than one \"samples\"");
    return enter(Scope::samples);
}

bool V8JsonHandler::beginNumbers(Scope scope, std::optional<std::vector<V8Number>>& numbers) {
    if (numbers) return fail("there is more than one \"" + std::string(describe(m_field)) + "\"");
    numbers.emplace();
    return enter(scope);
}

bool V8JsonHandler::beginChildren() {
    const V8NodeIndex owner = m_levels.back().node;
    if (m_document.is_nested) return enter(Scope::child_nodes, owner);
    if (node().children_end > node().children_begin) return fail("a node has more than one \"children\"");
    node().children_begin = m_document.child_ids.size();
    node().children_end = node().children_begin;
    return enter(Scope::child_ids, owner);
}

bool V8JsonHandler::EndArray(unsigned) {
    if (!is_ignored() && scope() == Scope::child_ids) node().children_end = m_document.child_ids.size();
    return leave();
}

bool V8JsonHandler::Uint64(std::uint64_t value) {
    return number(SampleWeight::of(static_cast<double>(value)));
}

bool V8JsonHandler::number(const V8Number& value) {
    m_text.markValue();
    if (is_ignored()) return true;
    std::int64_t id = 0;
    switch (scope()) {
    case Scope::samples:
        if (!integer(value, id)) return false;
        m_document.samples.push_back(id);
        return true;
    case Scope::child_ids:
        if (!integer(value, id)) return false;
        m_document.child_ids.push_back(id);
        return true;
    case Scope::time_deltas:
        return time(value, *m_document.time_deltas);
    case Scope::timestamps:
        return time(value, *m_document.timestamps);
    case Scope::document:
    case Scope::node:
    case Scope::call_frame:
        return memberNumber(value);
    default:
        return wrongKind("a number");
    }
}

bool V8JsonHandler::memberNumber(const V8Number& value) {
    switch (m_field) {
    case Field::none:
        return true;
    case Field::id:
        return identifier(value, node().id);
    case Field::parent:
        return identifier(value, node().parent_id);
    case Field::line_number:
        return integer(value, node().line_number);
    case Field::column_number:
        return integer(value, node().column_number);
    case Field::hit_count:
        return hitCount(value);
    default:
        return wrongKind("a number");
    }
}

bool V8JsonHandler::integer(const V8Number& value, std::int64_t& result) {
    if (!value.is_integer) return wrongKind("a number that is no 64-bit integer");
    result = value.integer;
    return true;
}

// The JSON reader makes infinity, or no number at all, of digits beyond the range, and does not complain.
bool V8JsonHandler::time(const V8Number& value, std::vector<V8Number>& times) {
    if (!value.is_integer && !std::isfinite(value.decimal)) return wrongKind("a number that is too large");
    times.push_back(value);
    return true;
}

bool V8JsonHandler::identifier(const V8Number& value, std::optional<std::int64_t>& result) {
    std::int64_t id = 0;
    if (!integer(value, id)) return false;
    result = id;
    return true;
}

bool V8JsonHandler::hitCount(const V8Number& value) {
    std::int64_t count = 0;
    if (!integer(value, count)) return false;
    if (count < 0 || count > std::numeric_limits<std::uint32_t>::max())
        return wrongKind("a number out of its range");
    node().hit_count = static_cast<std::uint32_t>(count);
    return true;
}

bool V8JsonHandler::string(std::string_view text) {
    m_text.markValue();
    if (is_ignored()) return true;
    if (is_member() && m_field == Field::none) return true;
    V8Number number;
    if (is_member() && isPlainNumber(m_field) && parseV8Number(text, number)) return memberNumber(number);
    if (!is_member() || (m_field != Field::function_name && m_field != Field::url))
        return wrongKind("a text");
    if (text.size() > m_limits.name_bytes)
        return fail("\"" + std::string(describe(m_field)) + "\" is longer than " +
                    std::to_string(m_limits.name_bytes) + " bytes");
    if (m_field == Field::url) {
        node().source_file = m_builder.sourceFile(text);
    } else {
        node().name = m_builder.name(text);
        node().is_named_root = text == "(root)";
    }
    return true;
}

// A profile without its samples would be another profile, and a node without its id is none.
bool V8JsonHandler::null() {
    const bool is_needed = !is_member() || m_field == Field::id || m_field == Field::samples ||
                           m_field == Field::time_deltas || m_field == Field::timestamps;
    if (is_needed) return other("null");
    m_text.markValue();
    return true;
}

bool V8JsonHandler::other(const char* kind) {
    m_text.markValue();
    if (is_ignored()) return true;
    if (is_member() && m_field == Field::none) return true;
    return wrongKind(kind);
}

} // namespace panedeck::engine
