#include "portkit/message_catalogs.h"

#include <boost/locale/gnu_gettext.hpp>

#include <algorithm>
#include <exception>
#include <filesystem>
#include <locale>
#include <optional>
#include <set>
#include <utility>

namespace portkit2 {

namespace {

namespace fs = std::filesystem;

constexpr char fallback_language[] = "en";
constexpr char category[] = "LC_MESSAGES";

/// Keeps paths, hidden files and what the file system or gettext would read otherwise out of file names.
bool is_plain_name(const std::string& name) {
    constexpr std::size_t longest = 64;
    const bool is_sized = !name.empty() && name.size() <= longest;
    return is_sized && name.find_first_not_of(
                           "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-") == name.npos;
}

fs::path file_in(const std::string& folder, const std::string& language, const std::string& name) {
    return fs::path(folder) / language / category / (name + ".mo");
}

/// Throws for a file that is damaged or cannot be read.
catalog_t::lookup_t read_file(const std::string& folder, const std::string& language,
                              const std::string& name) {
    namespace gettext = boost::locale::gnu_gettext;
    gettext::messages_info wanted;
    wanted.language = language;
    wanted.encoding = "UTF-8";
    wanted.locale_category = category;
    wanted.domains = {gettext::messages_info::domain(name)};
    wanted.paths = {folder};
    const std::locale texts(std::locale::classic(), gettext::create_messages_facet<char>(wanted));
    return [texts](const std::string& id) -> std::optional<ustring8> {
        const auto& facet = std::use_facet<boost::locale::message_format<char>>(texts);
        const char* text = facet.get(0, nullptr, id.c_str());
        return text ? std::optional<ustring8>(text) : std::nullopt;
    };
}

} // namespace

message_catalogs_t& message_catalogs_t::instance() {
    static message_catalogs_t catalogs;
    return catalogs;
}

void message_catalogs_t::set_folders(std::vector<std::string> folders, problem_handler_t on_problem) {
    const std::lock_guard lock(m_mutex);
    m_folders = std::move(folders);
    m_on_problem = std::move(on_problem);
    load_all();
}

bool message_catalogs_t::set_language(const std::string& language) {
    const std::lock_guard lock(m_mutex);
    const auto installed = installed_languages();
    if (!std::ranges::binary_search(installed, language)) return false;
    m_language = language;
    load_all();
    return true;
}

std::string message_catalogs_t::language() const {
    const std::lock_guard lock(m_mutex);
    return m_language;
}

std::vector<std::string> message_catalogs_t::languages() const {
    const std::lock_guard lock(m_mutex);
    return installed_languages();
}

const catalog_t* message_catalogs_t::get(const std::string& name) {
    if (!is_plain_name(name)) return nullptr;
    const std::lock_guard lock(m_mutex);
    if (const auto known = m_catalogs.find(name); known != m_catalogs.end()) return &known->second;
    const auto installed = installed_languages();
    const bool exists = std::ranges::any_of(
        installed, [&](const std::string& language) { return !find_folder(language, name).empty(); });
    if (!exists) return nullptr;
    catalog_t& made = m_catalogs[name];
    load_into(made, name);
    return &made;
}

std::vector<std::string> message_catalogs_t::installed_languages() const {
    std::set<std::string> found;
    for (const std::string& folder : m_folders) {
        std::error_code error;
        for (fs::directory_iterator i(folder, error), end; !error && i != end; i.increment(error)) {
            const std::string language = i->path().filename().string();
            std::error_code ignored; // what cannot be looked at is no language
            if (is_plain_name(language) && fs::is_directory(i->path() / category, ignored))
                found.insert(language);
        }
    }
    return {found.begin(), found.end()};
}

std::string message_catalogs_t::find_folder(const std::string& language, const std::string& name) const {
    for (const std::string& folder : m_folders) {
        std::error_code ignored; // what cannot be looked at is not there
        if (fs::is_regular_file(file_in(folder, language, name), ignored)) return folder;
    }
    return {};
}

void message_catalogs_t::add_language(const std::string& language, const std::string& name,
                                      std::vector<catalog_t::lookup_t>& languages) const {
    const std::string folder = find_folder(language, name);
    if (folder.empty()) return;
    try {
        languages.push_back(read_file(folder, language, name));
    } catch (const std::exception& error) {
        if (m_on_problem) m_on_problem(file_in(folder, language, name).string() + ": " + error.what());
    }
}

void message_catalogs_t::load_into(catalog_t& catalog, const std::string& name) const {
    std::vector<catalog_t::lookup_t> languages;
    add_language(m_language, name, languages);
    if (m_language != fallback_language) add_language(fallback_language, name, languages);
    catalog.speak(std::move(languages));
}

void message_catalogs_t::load_all() {
    for (auto& [name, catalog] : m_catalogs)
        load_into(catalog, name);
}

} // namespace portkit2
