#include "settingshub/user_language.h"

#include "basekit/environment.h"
#include "logkit/component_logger.h"
#include "portkit/message_catalogs.h"
#include "settingshub/global_storage.h"
#include "settingshub/product_locations.h"

#include <vector>

namespace settingshub2 {

namespace {

using portkit2::message_catalogs_t;

constexpr char section_name[] = "viewer";
constexpr char language_name[] = "language";

std::vector<std::string> message_folders() {
    const auto locations = IProductLocations::get();
    std::vector<std::string> folders;
    for (const std::string& configuration :
         {locations->getConfigDirectory(), locations->findInstalledFolder("config")})
        if (!configuration.empty()) folders.push_back(configuration + "/messages");
    // An installation has the catalogs in its configuration, a build beside its programs.
    if (const auto built = locations->findInstalledFolder("messages"); !built.empty())
        folders.push_back(built);
    return folders;
}

std::string stored_language() {
    const auto storage = IGlobalStorage::get();
    if (!storage) return {};
    return std::string(storage->getSubStorage(section_name)->readValue(language_name, {}).text());
}

/// Such as `de_DE.UTF-8`.
std::string environment_language() {
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"})
        if (const std::string value = bk2::get_environ_value(name); !value.empty()) return value;
    return {};
}

bool speak(const std::string& language) {
    return message_catalogs_t::instance().set_language(language);
}

bool speak_locale(const std::string& locale) {
    return speak(locale.substr(0, locale.find_first_of(".@"))) ||
           speak(locale.substr(0, locale.find_first_of("_.@")));
}

} // namespace

void configureMessageCatalogs() {
    message_catalogs_t::instance().set_folders(message_folders(), [](const std::string& problem) {
        logkit1::log(logkit1::level_t::warning, problem);
    });
    if (!speak(stored_language()) && !speak_locale(environment_language())) speak("en");
}

bk2::error_code_t setUserLanguage(const std::string& language) {
    if (!speak(language))
        return bk2::error_code_t::raise(bk2::kinds::is_not_valid_parameter,
                                        "No such language is installed: " + language);
    const auto storage = IGlobalStorage::get();
    if (!storage) return bk2::error_code_t::failure("There is no folder for the user's settings");
    return storage->getSubStorage(section_name)->writeValue(language_name, bk2::variant_t(language));
}

} // namespace settingshub2
