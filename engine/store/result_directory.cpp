#include "store/result_directory.h"

#include "basekit/random_text.h"
#include "basekit/variant_bag.h"
#include "basekit/variant_bag_xml.h"
#include "settingshub/whole_file.h"
#include "store/checksum.h"
#include "store/new_folder.h"
#include "store/profile_database.h"
#include "store/profile_validation.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>

namespace panedeck::engine {

namespace fs = std::filesystem;

namespace {

constexpr char database_name[] = "profile.sqlite";
constexpr char result_extension[] = ".pdres";
constexpr char project_extension[] = ".pdproj";
constexpr char result_root[] = "result";
constexpr char checksum_key[] = "checksum";
constexpr int first_with_checksum = 2;
constexpr unsigned id_bytes = 16;

// An absolute path without a slash at its end, so that the last part is the result's name.
fs::path normalized(const std::string& directory) {
    std::error_code ignored;
    fs::path path = fs::absolute(directory, ignored).lexically_normal();
    return path.has_filename() ? path : path.parent_path();
}

std::string toText(const bk2::variant_bag_t& bag) {
    ustring8 text;
    static_cast<void>(bk2::save_variant_bag_to_string2(bag, text, result_root));
    return std::string(text.c_str(), text.size());
}

/// Of a description without its checksum: of what it says, however it is laid out.
std::int64_t checksumOf(const bk2::variant_bag_t& bag) {
    Checksum sum;
    sum.add(toText(bag));
    return sum.value();
}

std::string describe(const ProfileData& data, const ResultFacts& facts, const std::string& id) {
    bk2::variant_bag_t bag;
    bag.put<bk2::variant_t>("schema", bk2::variant_t(profile_schema_version));
    bag.put<bk2::variant_t>("id", bk2::variant_t(id));
    bag.put<bk2::variant_t>("name", bk2::variant_t(facts.name));
    bag.put<bk2::variant_t>("source", bk2::variant_t(facts.source));
    bag.put<bk2::variant_t>("format", bk2::variant_t(facts.format));
    if (!facts.taken.empty()) bag.put<bk2::variant_t>("taken", bk2::variant_t(facts.taken));
    bag.put<bk2::variant_t>("samples", bk2::variant_t(bk2::u64_t{data.samples()}));
    for (const MetricColumn& metric : data.metrics)
        bag.add_variant_bag("metric").put<bk2::variant_t>("name", bk2::variant_t(metric.name));
    const std::int64_t sum = checksumOf(bag);
    bag.put<bk2::variant_t>(checksum_key, bk2::variant_t(bk2::s64_t{sum}));
    return toText(bag);
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

/// What a result's description says of the database beside it.
struct Identity {
    bk2::s64_t schema = 0;
    std::string id;
};

// Values come back in the order and the types in which they were written, so that the same bag is the same
// text.
bk2::error_code_t checkDescription(const std::string& file, bk2::variant_bag_t& bag) {
    const bk2::variant_t stored = bag.get_variant(checksum_key);
    bag.remove<bk2::variant_t>(checksum_key);
    if (stored.can_get<bk2::s64_t>() && stored.get<bk2::s64_t>() == checksumOf(bag)) return {};
    return bk2::error_code_t::failure(file + ": damaged: its checksum does not fit");
}

bk2::error_code_t readFacts(const std::string& file, ResultFacts& facts, Identity& identity) {
    std::string text;
    if (auto error = settingshub2::read_whole_file(file, text); error.failed()) return error;
    bk2::variant_bag_t bag;
    const auto error =
        bk2::load_variant_bag_from_string2(bag, ustring8(text.c_str(), text.size()), result_root);
    if (error.failed()) return bk2::error_code_t::failure(fmt::format("{}: {}", file, error.message()));
    const bk2::variant_t schema = bag.get_variant("schema");
    if (!schema.can_get<bk2::s64_t>()) return bk2::error_code_t::failure(file + ": no result file");
    identity = {schema.get<bk2::s64_t>(), textOf(bag, "id")};
    if (identity.schema > profile_schema_version)
        return bk2::error_code_t::failure(
            fmt::format("{}: written by a newer version of this program (schema {}, this one reads up to {})",
                        file, identity.schema, profile_schema_version));
    if (identity.schema >= first_with_checksum)
        if (auto damage = checkDescription(file, bag); damage.failed()) return damage;
    facts.name = textOf(bag, "name");
    facts.source = textOf(bag, "source");
    facts.format = textOf(bag, "format");
    facts.taken = textOf(bag, "taken");
    return {};
}

bk2::error_code_t findFiles(const fs::path& folder, std::string& file, std::string& database) {
    file = findResultFile(folder);
    if (file.empty()) return bk2::error_code_t::failure(folder.string() + ": no result directory");
    database = (folder / database_name).string();
    std::error_code missing;
    if (!fs::is_regular_file(database, missing))
        return bk2::error_code_t::failure(database + ": missing, the result is incomplete");
    return {};
}

/// Reads the description, then the database with `read_database(path, facts)`, and compares the two.
template <class ReadDatabase>
bk2::error_code_t readBoth(const fs::path& folder, ResultFacts& facts, const ReadDatabase& read_database) {
    std::string file;
    std::string database;
    if (auto error = findFiles(folder, file, database); error.failed()) return error;
    Identity identity;
    if (auto error = readFacts(file, facts, identity); error.failed()) return error;
    DatabaseFacts stored;
    if (auto error = read_database(database, stored); error.failed()) return error;
    if (stored.schema != identity.schema || stored.result_id != identity.id)
        return bk2::error_code_t::failure(
            fmt::format("{}: belongs to another result than {}", database, file));
    facts.notes = std::move(stored.notes);
    if (facts.name.empty()) facts.name = folder.filename().string();
    return {};
}

bk2::error_code_t readInto(const fs::path& folder, ProfileData& data, ResultFacts& facts,
                           notifykit2::IProgress* progress) {
    return readBoth(folder, facts, [&](const std::string& database, DatabaseFacts& stored) {
        if (auto error = readProfileDatabase(database, data, stored, progress); error.failed()) return error;
        const auto error = validateProfile(data);
        return error.failed() ? bk2::error_code_t::failure(fmt::format("{}: {}", database, error.message()))
                              : error;
    });
}

} // namespace

bk2::error_code_t writeResult(const ProfileData& data, const std::string& directory, const ResultFacts& facts,
                              notifykit2::IProgress* progress) {
    if (auto error = validateProfile(data); error.failed()) return error;
    const fs::path final_place = normalized(directory);
    NewFolder folder;
    if (auto error = folder.makeBeside(final_place); error.failed()) return error;

    const std::string id = bk2::random_hex_digits(id_bytes);
    const std::string database = (folder.path() / database_name).string();
    if (auto error =
            writeProfileDatabase(data, {profile_schema_version, id, facts.notes}, database, progress);
        error.failed())
        return error;
    if (auto error = flushToDisk(database); error.failed()) return error;
    const std::string file = (folder.path() / (final_place.filename().string() + result_extension)).string();
    if (auto error = settingshub2::write_whole_file(file, describe(data, facts, id)); error.failed())
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

bk2::error_code_t readResultFacts(const std::string& directory, ResultFacts& facts) {
    facts = {};
    const auto error = readBoth(normalized(directory), facts, readDatabaseFacts);
    if (error.failed()) facts = {};
    return error;
}

void removeAbandonedResults(const std::string& folder) {
    NewFolder::removeAbandoned(folder);
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
