#include "session/export_path.h"

#include "basekit/environment.h"

#include <cerrno>
#include <filesystem>
#include <pwd.h>
#include <system_error>
#include <unistd.h>

namespace panedeck::host {

namespace fs = std::filesystem;
using bk2::error_code_t;

namespace {

error_code_t refusal(const fs::path& place, const std::string& why) {
    return error_code_t::raise(bk2::kinds::failed_to_access_this_object, place.string() + ": " + why);
}

fs::path homeDirectory() {
    if (const std::string home = bk2::get_environ_value("HOME"); !home.empty()) return home;
    const passwd* entry = ::getpwuid(::geteuid());
    return entry ? entry->pw_dir : "/";
}

fs::path expandHome(std::string_view given) {
    if (given == "~") return homeDirectory();
    if (given.starts_with("~/")) return homeDirectory() / given.substr(2);
    return given;
}

error_code_t requireWritable(const fs::path& place) {
    if (::access(place.c_str(), W_OK) == 0) return error_code_t::success();
    return refusal(place, std::generic_category().message(errno));
}

error_code_t checkFile(const fs::path& file, bool& exists) {
    std::error_code error;
    const fs::file_status status = fs::status(file, error);
    exists = fs::exists(status);
    if (!exists && status.type() != fs::file_type::not_found) return refusal(file, error.message());
    if (fs::is_directory(status)) return refusal(file, "this is a folder");
    if (!exists && !fs::is_directory(file.parent_path(), error))
        return refusal(file.parent_path(), "there is no such folder");
    if (!exists) return requireWritable(file.parent_path());
    return fs::is_regular_file(status) ? requireWritable(file) : refusal(file, "this is no ordinary file");
}

} // namespace

error_code_t resolveExportPath(std::string_view given, export_path_t& resolved) {
    if (given.empty()) return error_code_t::raise(bk2::kinds::is_not_valid_parameter, "filePath");
    std::error_code error;
    const fs::path wanted = fs::absolute(expandHome(given), error);
    const fs::path file = fs::weakly_canonical(wanted, error);
    if (error) return refusal(wanted, error.message());
    export_path_t found;
    if (const auto code = checkFile(file, found.exists); code.failed()) return code;
    found.path = file.string();
    resolved = std::move(found);
    return error_code_t::success();
}

} // namespace panedeck::host
