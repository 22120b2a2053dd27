#pragma once

// Needed by hosts, which say where the catalogs are, and by the switch of the language.

#include "basekit/api.h"
#include "portkit/catalog.h"

#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace portkit2 {

/// The installed message catalogs: gettext files `FOLDER/LANGUAGE/LC_MESSAGES/NAME.mo` in UTF-8. What a
/// language lacks is said in English. Safe from any thread.
class PANEDECK_API message_catalogs_t {
public:
    /// Is told, in a sentence that names the file, of a catalog that cannot be read.
    using problem_handler_t = std::function<void(const std::string& problem)>;

    /// The one object of the process.
    static message_catalogs_t& instance();

    /// Looks for catalogs in these folders, of which the first that has a file counts. Catalogs that were
    /// handed out are read again.
    void set_folders(std::vector<std::string> folders, problem_handler_t on_problem);

    /// Lets all catalogs speak that language. False, and nothing changes, if it is not installed.
    bool set_language(const std::string& language);

    /// English until another was set.
    std::string language() const;

    /// All that are installed, in the order of their names.
    std::vector<std::string> languages() const;

    /// See `getMessageCatalog`.
    const catalog_t* get(const std::string& name);

private:
    // All of these are called under the lock.
    std::vector<std::string> installed_languages() const;
    std::string find_folder(const std::string& language, const std::string& name) const;
    void add_language(const std::string& language, const std::string& name,
                      std::vector<catalog_t::lookup_t>& languages) const;
    void load_into(catalog_t& catalog, const std::string& name) const;
    void load_all();

    mutable std::mutex m_mutex; ///< guards all below
    std::vector<std::string> m_folders;
    problem_handler_t m_on_problem;
    std::string m_language = "en";
    std::map<std::string, catalog_t> m_catalogs; ///< only grows: pointers to its values are kept elsewhere
};

} // namespace portkit2
