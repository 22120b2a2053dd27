#include "settingshub/product_locations.h"

#include "basekit/environment.h"
#include "basekit/ref_counted.h"
#include "basekit/variant_bag_xml.h"
#include "logkit/component_logger.h"
#include "settingshub/whole_file.h"

#include <algorithm>
#include <dlfcn.h>
#include <filesystem>
#include <mutex>

namespace settingshub2 {

namespace {

namespace fs = std::filesystem;

std::string default_user_directory() {
    const std::string configuration = bk2::get_environ_value("XDG_CONFIG_HOME");
    // A relative path is to be ignored, as the XDG rules say.
    if (!configuration.empty() && configuration.front() == '/') return configuration + "/panedeck";
    const std::string home = bk2::get_environ_value("HOME");
    return home.empty() ? "" : home + "/.config/panedeck";
}

/// The folder of the library that this code is in: a host of someone's own lies elsewhere than our data.
fs::path library_directory() {
    Dl_info library{};
    static const int here = 0;
    std::error_code error;
    if (::dladdr(&here, &library) == 0 || !library.dli_fname) return {};
    return fs::canonical(library.dli_fname, error).parent_path();
}

/// Without links as far as it exists; empty if that cannot be told.
fs::path resolved(const fs::path& path) {
    std::error_code error;
    const fs::path found = fs::weakly_canonical(path, error);
    return error ? fs::path() : found;
}

/// Both without "..". Nothing is below an empty root.
bool is_below(const fs::path& root, const fs::path& path) {
    return !root.empty() &&
           std::mismatch(root.begin(), root.end(), path.begin(), path.end()).first == root.end();
}

class ProductLocations
    : public bk2::ref_counted_t<ProductLocations, bk2::mt_ref_count_impl_t, IProductLocations> {
public:
    std::string getUserDirectory() const override {
        const std::lock_guard lock(m_mutex);
        return m_user_directory.empty() ? default_user_directory() : m_user_directory;
    }

    std::string getConfigDirectory() const override {
        const std::lock_guard lock(m_mutex);
        return m_config_directory.empty() ? findInstalledFolder("config") : m_config_directory;
    }

    std::string findConfiguration(const std::string& name) const override {
        for (const fs::path& folder :
             {fs::path(getConfigDirectory()), fs::path(findInstalledFolder("config"))}) {
            std::error_code error;
            if (!folder.empty() && fs::exists(folder / name, error)) return (folder / name).string();
        }
        return {};
    }

    std::string getDocumentationPath(const std::string& name) const override {
        const fs::path root = documentation_root();
        const fs::path path = (root / name).lexically_normal();
        return !root.empty() && is_below(root, path) && is_below(resolved(root), resolved(path))
                   ? path.string()
                   : "";
    }

    bool isFeatureEnabled(const std::string& name) const override {
        std::string text;
        bk2::variant_bag_t features;
        const std::string path = findConfiguration("features.xml");
        if (path.empty()) return false;
        auto loaded = read_whole_file(path, text);
        if (loaded.succeeded()) loaded = bk2::load_variant_bag_from_string2(features, text, "features");
        if (loaded.failed()) logkit1::log(logkit1::level_t::warning, path + ": " + loaded.as_string(1));
        const bk2::variant_t feature = features.get_variant(name);
        return feature.can_get<bool>() && feature.get<bool>();
    }

    std::string findInstalledFolder(const std::string& name) const override {
        for (const fs::path& start : {fs::path(getProgramDirectory()), library_directory()})
            for (const char* base : {"../share/panedeck", "../../share/panedeck", "../../.."}) {
                const fs::path folder = (start / base / name).lexically_normal();
                std::error_code error;
                if (!start.empty() && fs::is_directory(folder, error)) return folder.string();
            }
        return {};
    }

    std::string getProgramDirectory() const override {
        std::error_code error;
        return fs::read_symlink("/proc/self/exe", error).parent_path().string();
    }

    void setUserDirectory(const std::string& path) override { set(m_user_directory, path); }
    void setConfigDirectory(const std::string& path) override { set(m_config_directory, path); }

private:
    /// The page's folder, into which the help is installed; in the tree that was built the documents' own.
    fs::path documentation_root() const {
        for (const char* help : {"web/help", "docs/help"})
            if (const fs::path folder = findInstalledFolder(help); !folder.empty())
                return folder.parent_path();
        return {};
    }

    void set(std::string& place, const std::string& path) {
        const std::lock_guard lock(m_mutex);
        std::error_code error;
        place = path.empty() ? path : fs::absolute(path, error).lexically_normal().string();
        if (place.size() > 1 && place.back() == '/') place.pop_back();
    }

    mutable std::mutex m_mutex;
    std::string m_user_directory;
    std::string m_config_directory;
};

} // namespace

bk2::sptr_t<IProductLocations> IProductLocations::get() {
    static const auto locations = bk2::make_sptr<ProductLocations>();
    return locations;
}

} // namespace settingshub2
