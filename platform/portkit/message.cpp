#include "portkit/message.h"

#include <charconv>
#include <cstddef>

namespace portkit2 {

namespace {

/// The argument that the digits at the front of `rest` ask for, which are taken away; null if there is none.
const ustring8* take_argument(std::string_view& rest, const varg_list& arguments) {
    std::size_t number = 0;
    const auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), number);
    if (error != std::errc() || number == 0 || number > arguments.size()) return nullptr;
    rest.remove_prefix(static_cast<std::size_t>(end - rest.data()));
    return &arguments[number - 1];
}

} // namespace

ustring8 message_t::as_ustring(const varg_list& arguments) const {
    if (!m_text || arguments.empty()) return m_text.value_or(m_id);
    ustring8 filled;
    std::string_view rest = *m_text;
    for (auto place = rest.find('%'); place != rest.npos; place = rest.find('%')) {
        filled += rest.substr(0, place);
        rest.remove_prefix(place + 1);
        const ustring8* argument = take_argument(rest, arguments);
        filled += argument ? *argument : "%";
    }
    return filled += rest;
}

} // namespace portkit2
