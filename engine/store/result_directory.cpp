#include "store/result_directory.h"

#include "basekit/variant_bag.h"
#include "basekit/variant_bag_xml.h"
#include "settingshub/whole_file.h"
#include "store/profile_database.h"
#include "store/profile_validation.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace panedeck::engine {

namespace fs = std::filesystem;

namespace {

constexpr char database_name[] = "profile.sqlite";
constexpr char result_extension[] = ".pdres";
constexpr char project_extension[] = ".pdproj";
constexpr char result_root[] = "result";

bk2::error_code_t systemFailure(const std::string& path) {
    return bk2::error_code_t::failure(fmt::format("{}: {}", path, std::strerror(errno)));
}

bk2::error_code_t flushToDisk(const std::string& path) {
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) return systemFailure(path);
    const bk2::error_code_t error = ::fsync(descriptor) == 0 ? bk2::error_code_t() : systemFailure(path);
    ::close(descriptor);
    return error;
}

/// A folder that is removed with its content unless it was put into its final place.
class NewFolder {
public:
    ~NewFolder() {
        std::error_code ignored;
        if (!m_path.empty()) fs::remove_all(m_path, ignored);
    }

    bk2::error_code_t makeBeside(const fs::path& final_place) {
        std::error_code error;
        fs::create_directories(final_place.parent_path(), error);
        std::string pattern =
            (final_place.parent_path() / fmt::format(".{}.XXXXXX", final_place.filename().string())).string();
        if (error || !::mkdtemp(pattern.data())) return systemFailure(pattern);
        m_path = pattern;
        ::chmod(pattern.c_str(), 0755);
        return {};
    }

    /// Fails if something other than an empty folder stands at the final place.
    bk2::error_code_t moveTo(const fs::path& final_place) {
        if (::rename(m_path.c_str(), final_place.c_str()) != 0) return systemFailure(final_place.string());
        m_path.clear();
        return flushToDisk(final_place.parent_path().string());
    }

    const fs::path& path() const { return m_path; }

private:
    fs::path m_path;
};

// An absolute path without a slash at its end, so that the last part is the result's name.
fs::path normalized(const std::string& directory) {
    std::error_code ignored;
    fs::path path = fs::absolute(directory, ignored).lexically_normal();
    return path.has_filename() ? path : path.parent_path();
}

std::string describe(const ProfileData& data, const ResultFacts& facts) {
    bk2::variant_bag_t bag;
    bag.put<bk2::variant_t>("schema", bk2::variant_t(profile_schema_version));
    bag.put<bk2::variant_t>("name", bk2::variant_t(facts.name));
    bag.put<bk2::variant_t>("source", bk2::variant_t(facts.source));
    bag.put<bk2::variant_t>("format", bk2::variant_t(facts.format));
    bag.put<bk2::variant_t>("samples", bk2::variant_t(bk2::u64_t{data.samples()}));
    for (const MetricColumn& metric : data.metrics)
        bag.add_variant_bag("metric").put<bk2::variant_t>("name", bk2::variant_t(metric.name));
    ustring8 text;
    static_cast<void>(bk2::save_variant_bag_to_string2(bag, text, result_root));
    return std::string(text.c_str(), text.size());
}

std::string findFileWithExtension(const fs::path& folder, const char* extension) {
    std::vector<std::string> found;
    std::error_code error;
    for (fs::directory_iterator i(folder, error), end; !error && i != end; i.increment(error))
        if (i->path().extension() == extension && i->is_regular_file(error))
            found.push_back(i->path().string());
    std::ranges::sort(found);
    return found.empty() ? "" : found.front();
}

// The file of the folder's own name comes first; a folder that was renamed keeps a file of its old name.
std::string findResultFile(const fs::path& folder) {
    const fs::path own = folder / (folder.filename().string() + result_extension);
    std::error_code error;
    return fs::is_regular_file(own, error) ? own.string() : findFileWithExtension(folder, result_extension);
}

std::string textOf(const bk2::variant_bag_t& bag, const char* name) {
    return std::string(bag.get_variant(name).text());
}

bk2::error_code_t readFacts(const std::string& file, ResultFacts& facts) {
    std::string text;
    if (auto error = settingshub2::read_whole_file(file, text); error.failed()) return error;
    bk2::variant_bag_t bag;
    const auto error =
        bk2::load_variant_bag_from_string2(bag, ustring8(text.c_str(), text.size()), result_root);
    if (error.failed()) return bk2::error_code_t::failure(fmt::format("{}: {}", file, error.message()));
    const bk2::variant_t schema = bag.get_variant("schema");
    if (!schema.can_get<bk2::s64_t>()) return bk2::error_code_t::failure(file + ": no result file");
    if (schema.get<bk2::s64_t>() > profile_schema_version)
        return bk2::error_code_t::failure(
            fmt::format("{}: written by a newer version of this program (schema {}, this one reads up to {})",
                        file, schema.get<bk2::s64_t>(), profile_schema_version));
    facts = {textOf(bag, "name"), textOf(bag, "source"), textOf(bag, "format")};
    return {};
}

bk2::error_code_t readInto(const fs::path& folder, ProfileData& data, ResultFacts& facts,
                           notifykit2::IProgress* progress) {
    const std::string file = findResultFile(folder);
    if (file.empty()) return bk2::error_code_t::failure(folder.string() + ": no result directory");
    if (auto error = readFacts(file, facts); error.failed()) return error;
    const std::string database = (folder / database_name).string();
    std::error_code missing;
    if (!fs::is_regular_file(database, missing))
        return bk2::error_code_t::failure(database + ": missing, the result is incomplete");
    if (auto error = readProfileDatabase(database, data, progress); error.failed()) return error;
    if (auto error = validateProfile(data); error.failed())
        return bk2::error_code_t::failure(fmt::format("{}: {}", database, error.message()));
    if (facts.name.empty()) facts.name = folder.filename().string();
    return {};
}

} // namespace

bk2::error_code_t writeResult(const ProfileData& data, const std::string& directory, const ResultFacts& facts,
                              notifykit2::IProgress* progress) {
    if (auto error = validateProfile(data); error.failed()) return error;
    const fs::path final_place = normalized(directory);
    NewFolder folder;
    if (auto error = folder.makeBeside(final_place); error.failed()) return error;

    const std::string database = (folder.path() / database_name).string();
    if (auto error = writeProfileDatabase(data, database, progress); error.failed()) return error;
    if (auto error = flushToDisk(database); error.failed()) return error;
    const std::string file = (folder.path() / (final_place.filename().string() + result_extension)).string();
    if (auto error = settingshub2::write_whole_file(file, describe(data, facts)); error.failed())
        return error;
    if (auto error = flushToDisk(folder.path().string()); error.failed()) return error;
    return folder.moveTo(final_place);
}

bk2::error_code_t readResult(const std::string& directory, ProfileData& data, ResultFacts& facts,
                             notifykit2::IProgress* progress) {
    data = {};
    facts = {};
    const bk2::error_code_t error = readInto(normalized(directory), data, facts, progress);
    if (error.failed()) {
        data = {};
        facts = {};
    }
    return error;
}

bool isResultDirectory(const std::string& directory) {
    return !findResultFile(normalized(directory)).empty();
}

std::vector<std::string> listResults(const std::string& folder) {
    std::vector<std::string> results;
    std::error_code error;
    for (fs::directory_iterator i(folder, error), end; !error && i != end; i.increment(error)) {
        const bool hidden = i->path().filename().string().starts_with('.');
        if (!hidden && i->is_directory(error) && isResultDirectory(i->path().string()))
            results.push_back(i->path().string());
    }
    std::ranges::sort(results);
    return results;
}

std::string findProjectFile(const std::string& folder) {
    return findFileWithExtension(folder, project_extension);
}

} // namespace panedeck::engine
