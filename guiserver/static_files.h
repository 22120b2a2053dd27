#pragma once

#include <filesystem>
#include <optional>
#include <string_view>

namespace panedeck::guiserver {

/// The regular file below `root` that a decoded URL path names; "/" is "index.html". Nothing for a path with
/// "..", with a backslash or with a name that begins with a dot, for a folder, and for a symbolic link that
/// leads out of `root`. `root` is canonical.
std::optional<std::filesystem::path> find_static_file(const std::filesystem::path& root,
                                                      std::string_view url_path);

/// The `Content-Type` for a file of that name.
std::string_view content_type(const std::filesystem::path& file);

} // namespace panedeck::guiserver
