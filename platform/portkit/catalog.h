#pragma once

// Needed by whatever shows texts to people: messages by id.

#include "basekit/api.h"
#include "portkit/message.h"
#include "portkit/ustring8.h"

#include <functional>
#include <optional>
#include <shared_mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace portkit2 {

/// Messages under ids such as "%percent", in the language of the person. Holders keep a pointer for as long
/// as they like: a switch of the language changes what stands behind it. Safe from any thread.
class PANEDECK_API catalog_t {
public:
    /// The text of an id in one language, nothing if the language lacks it. Called from any thread.
    using lookup_t = std::function<std::optional<ustring8>(const std::string& id)>;

    /// Speaks with these, of which the first that has a text counts.
    explicit catalog_t(std::vector<lookup_t> languages = {}) : m_languages(std::move(languages)) {}
    catalog_t(const catalog_t&) = delete;
    catalog_t& operator=(const catalog_t&) = delete;

    /// The message of that id, nil if there is none. The empty id has none.
    message_t message(std::string_view id) const;

    /// The text of that id without arguments, or "" if there is none.
    ustring8 text(std::string_view id) const;

    /// Speaks with these from now on.
    void speak(std::vector<lookup_t> languages);

private:
    mutable std::shared_mutex m_mutex; ///< guards all below
    std::vector<lookup_t> m_languages;
};

/// The installed catalog of that name, null if there is none. It lives as long as the process. Only plain
/// names are looked up, never paths.
PANEDECK_API const catalog_t* getMessageCatalog(const std::string& name);

} // namespace portkit2
