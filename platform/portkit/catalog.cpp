#include "portkit/catalog.h"

#include "portkit/message_catalogs.h"

#include <mutex>
#include <utility>

namespace portkit2 {

message_t catalog_t::message(std::string_view id) const {
    std::string key(id);
    // A catalog keeps its own header under the empty id.
    if (key.empty()) return message_t(key);
    const std::shared_lock lock(m_mutex);
    for (const lookup_t& language : m_languages)
        if (auto text = language(key)) return message_t(std::move(key), std::move(*text));
    return message_t(std::move(key));
}

ustring8 catalog_t::text(std::string_view id) const {
    const message_t found = message(id);
    return found.is_nil() ? ustring8() : found.as_ustring();
}

void catalog_t::speak(std::vector<lookup_t> languages) {
    const std::unique_lock lock(m_mutex);
    m_languages.swap(languages);
}

const catalog_t* getMessageCatalog(const std::string& name) {
    return message_catalogs_t::instance().get(name);
}

} // namespace portkit2
