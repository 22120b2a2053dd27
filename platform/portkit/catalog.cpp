#include "portkit/catalog.h"

#include "portkit/message_catalogs.h"

#include <boost/locale/message.hpp>

#include <mutex>
#include <utility>

namespace portkit2 {

message_t catalog_t::message(std::string_view id) const {
    std::string key(id);
    // A catalog keeps its own header under the empty id.
    if (key.empty()) return message_t(key);
    const std::shared_lock lock(m_mutex);
    for (const std::locale& language : m_languages) {
        const auto& messages = std::use_facet<boost::locale::message_format<char>>(language);
        if (const char* text = messages.get(0, nullptr, key.c_str())) return message_t(std::move(key), text);
    }
    return message_t(std::move(key));
}

ustring8 catalog_t::text(std::string_view id) const {
    const message_t found = message(id);
    return found.is_nil() ? ustring8() : found.as_ustring();
}

void catalog_t::speak(std::vector<std::locale> languages) {
    const std::unique_lock lock(m_mutex);
    m_languages.swap(languages);
}

const catalog_t* getMessageCatalog(const std::string& name) {
    return message_catalogs_t::instance().get(name);
}

} // namespace portkit2
