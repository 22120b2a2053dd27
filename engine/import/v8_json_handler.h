#pragma once

#include "import/json_text.h"
#include "import/profile_builder.h"
#include "import/v8_document.h"

#include <string>
#include <string_view>
#include <vector>

namespace panedeck::engine {

/// Receives the events of the JSON reader and fills a V8Document. Objects nest as deep as the stacks of the
/// profile, so where the reader is stands in a vector and never on the call stack.
class V8JsonHandler {
public:
    V8JsonHandler(JsonText& text, ProfileBuilder& builder, const ImportLimits& limits, V8Document& document)
        : m_text(text), m_builder(builder), m_limits(limits), m_document(document) {}

    /// Why an event was answered with false; empty if none was.
    const std::string& failure() const { return m_failure; }

    // The reader's events. False stops it.
    bool Null() { return null(); }
    bool Bool(bool) { return other("a truth value"); }
    bool Int(int value) { return number(SampleWeight::of(std::int64_t{value})); }
    bool Uint(unsigned value) { return number(SampleWeight::of(std::int64_t{value})); }
    bool Int64(std::int64_t value) { return number(SampleWeight::of(value)); }
    bool Uint64(std::uint64_t value);
    bool Double(double value) { return number(SampleWeight::of(value)); }
    bool RawNumber(const char*, unsigned, bool) { return false; }
    bool String(const char* text, unsigned size, bool) { return string({text, size}); }
    bool Key(const char* text, unsigned size, bool);
    bool StartObject();
    bool EndObject(unsigned);
    bool StartArray();
    bool EndArray(unsigned);

private:
    enum class Scope : std::uint8_t {
        ignored,     ///< something that is not needed
        document,    ///< the outermost object
        nodes,       ///< the array of nodes
        node,        ///< a node
        call_frame,  ///< what a node calls its function by
        child_ids,   ///< children of a node by id
        child_nodes, ///< children of a node of the older form
        samples,
        time_deltas,
        timestamps
    };

    enum class Field : std::uint8_t {
        none, ///< not needed
        nodes,
        head,
        samples,
        time_deltas,
        timestamps,
        id,
        parent,
        call_frame,
        hit_count,
        children,
        function_name,
        url,
        line_number,
        column_number
    };

    struct Level {
        Scope scope;
        V8NodeIndex node; ///< of node, call_frame and children scopes
    };

    Scope scope() const { return m_levels.empty() ? Scope::ignored : m_levels.back().scope; }
    V8Node& node() { return m_document.nodes[m_levels.back().node]; }
    bool is_ignored() const { return m_ignored_depth > 0; }
    /// Whether a value belongs to the key before it.
    bool is_member() const {
        return scope() == Scope::document || scope() == Scope::node || scope() == Scope::call_frame;
    }

    bool enter(Scope scope, V8NodeIndex node = no_v8_node);
    bool ignore();
    bool leave();
    bool enterNode(V8NodeIndex parent);
    bool beginNodes(bool nested);
    bool beginNumbers(Scope scope, std::optional<std::vector<V8Number>>& numbers);
    bool beginSamples();
    bool beginChildren();
    bool startMemberObject();
    bool startMemberArray();

    bool number(const V8Number& value);
    bool memberNumber(const V8Number& value);
    bool integer(const V8Number& value, std::int64_t& result);
    bool time(const V8Number& value, std::vector<V8Number>& times);
    bool identifier(const V8Number& value, std::optional<std::int64_t>& result);
    bool hitCount(const V8Number& value);
    bool string(std::string_view text);
    bool null();
    bool other(const char* kind);
    bool wrongKind(const char* kind);
    bool fail(std::string why);

    static Field documentField(std::string_view key);
    static Field nodeField(std::string_view key);
    static Field callFrameField(std::string_view key);
    /// Of a number that may be given as text: ids and times are needed exactly as they are.
    static bool isPlainNumber(Field field);
    static const char* describe(Field field);

    JsonText& m_text;
    ProfileBuilder& m_builder;
    ImportLimits m_limits;
    V8Document& m_document;
    std::vector<Level> m_levels;
    std::size_t m_ignored_depth = 0;
    Field m_field = Field::none;
    bool m_has_samples = false;
    std::string m_failure;
};

} // namespace panedeck::engine
