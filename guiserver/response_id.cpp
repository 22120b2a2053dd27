#include "response_id.h"

#include "basekit/variant_bag_xml.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <string>

namespace panedeck::guiserver {

namespace {

constexpr std::string_view xml_front = "<msg><response><requestId>";
constexpr std::string_view xml_back = "</requestId>";
constexpr std::string_view json_front = "{\"response\":{\"requestId\":\"";
constexpr std::string_view json_back = "\"";

/// Ids of the relay are shorter; a search for their end goes no further.
constexpr std::size_t longest_id = 64;

std::optional<ResponseId> find_between(ResponseId::Form form, std::string_view frame, std::string_view front,
                                       std::string_view back) {
    if (!frame.starts_with(front)) return std::nullopt;
    const std::string_view candidates = frame.substr(front.size(), longest_id + back.size());
    const std::size_t size = candidates.find(back);
    if (size == std::string_view::npos) return std::nullopt;
    return ResponseId{form, candidates.substr(0, size), front.size() + size + back.size()};
}

std::string json_string(std::string_view text) {
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
    return {buffer.GetString(), buffer.GetSize()};
}

/// Everything of an XML response up to and including its id.
std::string xml_head(std::string_view id) {
    bk2::variant_bag_t response;
    response.put<bk2::variant_t>("requestId", bk2::variant_t(id));
    ustring8 text;
    (void)bk2::save_variant_bag_to_string2(response, text, "msg.response"); // cannot fail
    return text.substr(0, text.rfind("</response>"));
}

std::string json_head(std::string_view id) {
    return std::string("{\"response\":{\"requestId\":") + json_string(id);
}

} // namespace

std::optional<ResponseId> find_response_id(std::string_view frame) {
    if (frame.starts_with('{')) return find_between(ResponseId::Form::json, frame, json_front, json_back);
    return find_between(ResponseId::Form::xml, frame, xml_front, xml_back);
}

OutgoingText with_response_id(const frame_body_t& frame, const ResponseId& found, std::string_view id) {
    return {found.form == ResponseId::Form::xml ? xml_head(id) : json_head(id), frame, found.end};
}

std::string error_response(const std::optional<std::string>& id, std::string_view text) {
    return (id ? json_head(*id) + "," : std::string("{\"response\":{")) +
           "\"serializeAsJson\":null,\"type\":\"error\",\"\":{\"text\":" + json_string(text) + "}}}";
}

} // namespace panedeck::guiserver
