#include "message_format.h"

#include "basekit/assertion.h"
#include "basekit/variant_bag_xml.h"
#include "logkit/component_logger.h"
#include "transport/json_serialization.h"
#include "transport/sensitive_parameter.h"

#include <algorithm>
#include <array>
#include <string>

namespace panedeck {

using bk2::error_code_t;
using bk2::variant_bag_t;
using bk2::variant_t;

namespace {

constexpr std::array<std::string_view, 4> xml_domains = {"grid", "filter", "knob", "property"};
constexpr std::string_view xml_type = "viewpoint:config";

error_code_t write_json(variant_bag_t& bag, const char* root, ustring8& text) {
    variant_bag_t message;
    message.add_variant_bag(root).swap(bag);
    PANEDECK_PASS_ON(save_variant_bag_to_json_string(message, text, JSONFormat::compact));
    if (!is_tracing()) return {};
    ustring8 pretty;
    PANEDECK_PASS_ON(save_variant_bag_to_json_string(message, pretty, JSONFormat::pretty));
    trace_message("Outgoing message:\n", pretty);
    return {};
}

error_code_t write_xml(const variant_bag_t& bag, const char* root, ustring8& text) {
    PANEDECK_PASS_ON(bk2::save_variant_bag_to_string2(bag, text, (std::string("msg.") + root).c_str()));
    if (is_tracing()) trace_message("Outgoing message:\n", text);
    return {};
}

} // namespace

bool is_json_response(std::string_view type) {
    const std::string_view domain = type.substr(0, type.find(':'));
    return type != xml_type && std::find(xml_domains.begin(), xml_domains.end(), domain) == xml_domains.end();
}

error_code_t write_message(variant_bag_t& bag, const char* root, ustring8& text) {
    return bag.has<variant_t>("serializeAsJson") ? write_json(bag, root, text) : write_xml(bag, root, text);
}

error_code_t read_message(const ustring8& text, std::size_t leftover, variant_bag_t& bag) {
    error_code_t result = bk2::load_variant_bag_from_string2(bag, text, "msg");
    if (result.failed() && leftover > 0)
        result = bk2::load_variant_bag_from_string2(bag, text.substr(leftover), "msg");
    return result;
}

bool is_tracing() {
    return logkit1::getUnitLogLevel() == logkit1::level_t::trace;
}

void trace_message(std::string_view heading, const ustring8& text) {
    logkit1::log(logkit1::level_t::trace, std::string(heading) + sensitive_parameter::sanitizeLog(text));
}

} // namespace panedeck
