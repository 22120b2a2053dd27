#pragma once

// Needed by whatever shows texts to people: messages by id.

#include "basekit/api.h"
#include "portkit/message.h"
#include "portkit/ustring8.h"

#include <locale>
#include <shared_mutex>
#include <string>
#include <string_view>
#include <vector>

namespace portkit2 {

/// Messages under ids such as "%percent", in the language of the person. Holders keep a pointer for as long
/// as they like: a switch of the language changes what stands behind it. Safe from any thread.
class PANEDECK_API catalog_t {
public:
    catalog_t() = default;
    catalog_t(const catalog_t&) = delete;
    catalog_t& operator=(const catalog_t&) = delete;

    /// The message of that id, nil if there is none. The empty id has none.
    message_t message(std::string_view id) const;

    /// The text of that id without arguments, or "" if there is none.
    ustring8 text(std::string_view id) const;

    /// Speaks from now on with the message facets of these, of which the first that has a message counts.
    void speak(std::vector<std::locale> languages);

private:
    mutable std::shared_mutex m_mutex; ///< guards all below
    std::vector<std::locale> m_languages;
};

/// The installed catalog of that name, null if there is none. It lives as long as the process. Only plain
/// names are looked up, never paths.
PANEDECK_API const catalog_t* getMessageCatalog(const std::string& name);

} // namespace portkit2
