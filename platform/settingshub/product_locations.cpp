#include "settingshub/product_locations.h"

#include "basekit/environment.h"
#include "basekit/ref_counted.h"

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
