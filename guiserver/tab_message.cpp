#include "tab_message.h"

#include "basekit/variant_bag_xml.h"

namespace panedeck::guiserver {

using bk2::error_code_t;
using bk2::variant_bag_t;
using bk2::variant_t;

namespace {

/// Ids are kept while a request is under way.
constexpr std::size_t longest_id = 1024;

/// The texts are those of the library, which would find the same faults.
error_code_t failure(std::string_view message) {
    return error_code_t::raise(bk2::kinds::failed_to_process_this_operation, message);
}

bool is_text(const variant_t* value) {
    return value && value->is_narrow_text();
}

error_code_t take_request(variant_bag_t& request, TabMessage& message, std::optional<std::string>& id) {
    const variant_t* own_id = request.get<variant_t>("id");
    const bool has_id = is_text(own_id) && own_id->text().size() <= longest_id;
    if (has_id) id = std::string(own_id->text());
    if (!is_text(request.get<variant_t>("type"))) return failure("Invalid request type value");
    if (!has_id) return failure("Invalid request ID value");
    message.kind = TabMessage::Kind::request;
    message.id = *id;
    message.content.swap(request);
    return {};
}

error_code_t take_event(variant_bag_t& event, TabMessage& message) {
    const variant_t* name = event.get<variant_t>("name");
    if (!is_text(name)) return failure("Invalid event name");
    message.kind = TabMessage::Kind::event;
    message.name = name->text();
    message.content.swap(event);
    return {};
}

} // namespace

std::string TabMessage::write() {
    variant_bag_t bag;
    bag.add_variant_bag(kind == Kind::request ? "request" : "event").swap(content);
    ustring8 text;
    (void)bk2::save_variant_bag_to_string2(bag, text, "msg"); // cannot fail
    return text;
}

error_code_t read_tab_message(const std::string& text, TabMessage& message, std::optional<std::string>& id) {
    variant_bag_t bag;
    if (bk2::load_variant_bag_from_string2(bag, text, "msg").failed())
        return failure("Invalid incoming message syntax");
    if (variant_bag_t* request = bag.get<variant_bag_t>("request"))
        return take_request(*request, message, id);
    if (variant_bag_t* event = bag.get<variant_bag_t>("event")) return take_event(*event, message);
    return error_code_t::failure("No meaningful data in the message");
}

} // namespace panedeck::guiserver
