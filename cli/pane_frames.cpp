#include "pane_frames.h"

#include "basekit/variant_bag_xml.h"
#include "transport/json_serialization.h"

namespace panedeck::cli {

namespace {

using bk2::variant_bag_t;

std::string_view text_of(const variant_bag_t& message, const char* child, const char* name) {
    const variant_bag_t* bag = message.get<variant_bag_t>(child);
    const bk2::variant_t* value = bag ? bag->get<bk2::variant_t>(name) : nullptr;
    return value ? value->text() : std::string_view();
}

} // namespace

std::string write_request_frame(const std::string& id, const std::string& type,
                                const variant_bag_t& parameters) {
    variant_bag_t request = parameters;
    request.put("id", bk2::variant_t(id));
    request.put("type", bk2::variant_t(type));
    std::string text;
    // Cannot fail, as its description says.
    static_cast<void>(bk2::save_variant_bag_to_string2(request, text, "msg.request"));
    return text;
}

bk2::error_code_t read_pane_frame(const std::string& text, variant_bag_t& message) {
    if (text.starts_with('{')) return load_variant_bag_from_json_string(text, message);
    return bk2::load_variant_bag_from_string2(message, text, "msg");
}

std::string_view event_name(const variant_bag_t& message) {
    return text_of(message, "event", "name");
}

std::string_view response_id(const variant_bag_t& message) {
    return text_of(message, "response", "requestId");
}

bk2::error_code_t take_answer(variant_bag_t& message, variant_bag_t& answer) {
    variant_bag_t* payload = message.get<variant_bag_t>("response")->get<variant_bag_t>("");
    const std::string_view type = text_of(message, "response", "type");
    if (type == "canceled") return bk2::error_code_t::canceled();
    if (type == "error") {
        // JSON writes an own value bare, so the text arrives as a named value; in XML it is a child's own
        // value.
        const bk2::variant_t* text = payload ? payload->get<bk2::variant_t>("text") : nullptr;
        if (!text && payload) text = payload->get_own_value("text");
        return bk2::error_code_t::failure(text ? text->text() : "the request failed");
    }
    answer.clear();
    if (payload) answer.swap(*payload);
    return bk2::error_code_t::success();
}

} // namespace panedeck::cli
