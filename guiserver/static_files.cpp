#include "static_files.h"

#include <algorithm>
#include <string>
#include <system_error>
#include <utility>

namespace panedeck::guiserver {

namespace {

/// No name that is empty or begins with a dot, which covers "." and ".." as well as hidden files.
bool is_plain_path(std::string_view url_path) {
    return url_path.starts_with('/') && url_path.find("/.") == std::string_view::npos &&
           url_path.find("//") == std::string_view::npos && url_path.find('\\') == std::string_view::npos &&
           url_path.find('\0') == std::string_view::npos;
}

bool is_below(const std::filesystem::path& root, const std::filesystem::path& file) {
    const auto difference = std::mismatch(root.begin(), root.end(), file.begin(), file.end());
    return difference.first == root.end() && difference.second != file.end();
}

} // namespace

std::optional<std::filesystem::path> find_static_file(const std::filesystem::path& root,
                                                      std::string_view url_path) {
    if (!is_plain_path(url_path)) return std::nullopt;
    const std::string_view relative = url_path == "/" ? std::string_view("index.html") : url_path.substr(1);
    std::error_code error;
    const auto file = std::filesystem::canonical(root / relative, error);
    if (error || !is_below(root, file) || !std::filesystem::is_regular_file(file, error)) return std::nullopt;
    return file;
}

std::string_view content_type(const std::filesystem::path& file) {
    static constexpr std::pair<std::string_view, std::string_view> types[] = {
        {".html", "text/html; charset=utf-8"},
        {".js", "text/javascript; charset=utf-8"},
        {".mjs", "text/javascript; charset=utf-8"},
        {".css", "text/css; charset=utf-8"},
        {".json", "application/json"},
        {".map", "application/json"},
        {".svg", "image/svg+xml"},
        {".png", "image/png"},
        {".jpg", "image/jpeg"},
        {".gif", "image/gif"},
        {".webp", "image/webp"},
        {".ico", "image/x-icon"},
        {".woff", "font/woff"},
        {".woff2", "font/woff2"},
        {".ttf", "font/ttf"},
        {".wasm", "application/wasm"},
        {".txt", "text/plain; charset=utf-8"},
        {".webmanifest", "application/manifest+json"},
    };
    const std::string extension = file.extension().string();
    for (const auto& [name, type] : types)
        if (extension == name) return type;
    return "application/octet-stream";
}

} // namespace panedeck::guiserver
