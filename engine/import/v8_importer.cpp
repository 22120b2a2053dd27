#include "import/v8_importer.h"

#include "import/json_text.h"
#include "import/v8_json_handler.h"
#include "import/v8_samples.h"
#include "import/v8_tree.h"

#include <rapidjson/error/en.h>
#include <rapidjson/reader.h>

namespace panedeck::engine {

namespace {

// Parsing by iteration: the older form nests as deep as the stacks are.
constexpr unsigned parse_flags = rapidjson::kParseIterativeFlag | rapidjson::kParseFullPrecisionFlag;

ImportOutcome parse(TextInput& input, ProfileBuilder& builder, V8Document& document,
                    std::uint64_t& last_line) {
    JsonText text(input);
    V8JsonHandler handler(text, builder, input.limits(), document);
    rapidjson::Reader reader;
    const rapidjson::ParseResult result = reader.Parse<parse_flags>(text, handler);
    last_line = text.line();
    if (auto stopped = text.stopped()) return *stopped;
    if (!handler.failure().empty()) return ImportOutcome::refused(last_line, handler.failure());
    if (result) return ImportOutcome::done();
    return ImportOutcome::refused(last_line, std::string("the JSON does not parse: ") +
                                                 rapidjson::GetParseError_En(result.Code()) + " (at byte " +
                                                 std::to_string(result.Offset() + 1) + ")");
}

} // namespace

// A brace alone does not do: functions called `{main}` are the roots of some folded stacks.
FormatScore V8Importer::score(const TextBeginning& beginning) const {
    constexpr std::string_view white = " \t\r\n";
    const std::size_t brace = beginning.text.find_first_not_of(white);
    if (brace == std::string_view::npos || beginning.text[brace] != '{') return {};
    const std::size_t next = beginning.text.find_first_not_of(white, brace + 1);
    const bool is_object =
        next == std::string_view::npos || beginning.text[next] == '"' || beginning.text[next] == '}';
    return {is_object ? 1u : 0u, 1};
}

ImportOutcome V8Importer::import(TextInput& input, ProfileBuilder& builder, ImportReport& report) const {
    V8Document document;
    std::uint64_t last_line = 1;
    ImportOutcome outcome = parse(input, builder, document, last_line);
    if (!outcome.is_done()) return outcome;
    if (!document.has_nodes)
        return ImportOutcome::refused(last_line,
                                      "the JSON is no CPU profile: it has neither \"nodes\" nor \"head\"");
    if (document.nodes.empty()) return ImportOutcome::refused(last_line, "there are no nodes");
    V8Tree tree(document, builder, input.limits());
    outcome = tree.build(input.progress());
    if (!outcome.is_done()) return outcome;
    return addV8Samples(document, tree, last_line, builder, report, input.progress());
}

} // namespace panedeck::engine
