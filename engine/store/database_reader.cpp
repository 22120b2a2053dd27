#include "store/database_layout.h"
#include "store/profile_database.h"
#include "store/sqlite_database.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <filesystem>
#include <functional>
#include <unordered_map>

namespace panedeck::engine {

namespace {

bk2::error_code_t canceledIf(const notifykit2::IProgress* progress) {
    return notifykit2::is_canceled(progress) ? bk2::error_code_t::canceled() : bk2::error_code_t();
}

/// Reads one profile; the first failure sticks and the rest is skipped.
class DatabaseReader {
public:
    DatabaseReader(ProfileData& data, DatabaseFacts& facts, std::string path, notifykit2::IProgress* progress)
        : m_data(data), m_facts(facts), m_path(std::move(path)), m_progress(progress) {}

    bk2::error_code_t read() {
        keep(readFactsOnly());
        readDimensions();
        readStackTree();
        readSamples();
        if (!m_checksums.empty()) refuse("damaged: " + m_checksums.begin()->first + " is missing");
        return m_error;
    }

    bk2::error_code_t readFactsOnly() {
        keep(m_database.openReadOnly(m_path));
        checkSchema();
        if (m_facts.schema >= first_with_facts) readFacts();
        return m_error;
    }

private:
    using Take = std::function<void(const SqliteStatement&)>;
    static constexpr int first_with_facts = 2;

    void keep(const bk2::error_code_t& error) {
        if (m_error.succeeded() && error.failed()) m_error = error;
    }
    void refuse(const std::string& what) { keep(bk2::error_code_t::failure(m_path + ": " + what)); }

    void readRows(std::string_view sql, const Take& take) {
        SqliteStatement select;
        if (m_error.succeeded()) keep(m_database.prepare(sql, select));
        bool has_row = m_error.succeeded();
        for (std::size_t row = 0; has_row; ++row) {
            if (row % rows_between_polls == 0) keep(canceledIf(m_progress));
            keep(select.step(has_row));
            if (m_error.failed()) return;
            if (has_row) take(select);
        }
    }

    // Rows of a dimension table are numbered from 0 without a gap: the number is the index.
    void readTable(const std::string& table, const Take& take) {
        std::int64_t expected = 0;
        Checksum sum;
        readRows("SELECT * FROM " + table + " ORDER BY id", [&](const SqliteStatement& row) {
            if (row.integer(0) != expected++) refuse("table " + table + " has a gap");
            if (has_checksums()) row.addRow(sum);
            take(row);
        });
        verify(table, sum);
    }

    bool has_checksums() const { return m_facts.schema >= first_with_facts; }

    /// Each checksum fits one thing that was read, and is then used up.
    void verify(const std::string& name, const Checksum& sum) {
        if (!has_checksums() || m_error.failed()) return;
        const auto found = m_checksums.find(name);
        if (found == m_checksums.end() || found->second != sum.value())
            return refuse("damaged: the checksum of " + name + " does not fit");
        m_checksums.erase(found);
    }

    void readFacts() {
        readRows("SELECT name, sum FROM checksum",
                 [this](const SqliteStatement& row) { m_checksums.emplace(row.text(0), row.integer(1)); });
        readTable("result_fact", [this](const SqliteStatement& row) {
            if (row.text(1) == layout::result_id) m_facts.result_id = row.text(2);
            if (row.text(1) == layout::position_unit) m_facts.notes.position_unit = row.text(2);
        });
        readTable("import_note", [this](const SqliteStatement& row) {
            auto& kind = row.text(1) == layout::skipped ? m_facts.notes.skipped : m_facts.notes.adjusted;
            kind.push_back({std::string(row.text(2)), static_cast<std::uint64_t>(row.integer(3)),
                            positionsOf(row.text(4))});
        });
    }

    static std::vector<std::uint64_t> positionsOf(std::string_view text) {
        std::vector<std::uint64_t> positions;
        for (const char *at = text.data(), *end = at + text.size(); at < end; ++at) {
            std::uint64_t position = 0;
            at = std::from_chars(at, end, position).ptr;
            positions.push_back(position);
        }
        return positions;
    }

    void checkSchema() {
        readRows("PRAGMA user_version", [this](const SqliteStatement& row) {
            const std::int64_t version = row.integer(0);
            if (version > profile_schema_version)
                refuse(fmt::format(
                    "written by a newer version of this program (schema {}, this one reads up to {})",
                    version, profile_schema_version));
            else if (version < 1)
                refuse(fmt::format("no result database (schema {})", version));
            else
                m_facts.schema = static_cast<int>(version);
        });
    }

    std::uint32_t index(const SqliteStatement& row, int column) {
        const std::int64_t value = row.integer(column);
        if (value < 0 || value > UINT32_MAX) refuse(fmt::format("index {} out of range", value));
        return static_cast<std::uint32_t>(value);
    }

    void readNames(const std::string& table, std::vector<std::string>& names) {
        readTable(table, [&](const SqliteStatement& row) { names.emplace_back(row.text(1)); });
    }

    void readDimensions() {
        readNames("dd_module_file", m_data.modules);
        readNames("dd_source_file", m_data.source_files);
        readNames("dd_function_name", m_data.names);
        readTable("dd_process", [this](const SqliteStatement& row) {
            m_data.processes.push_back({row.integer(1), std::string(row.text(2))});
        });
        readTable("dd_thread", [this](const SqliteStatement& row) {
            m_data.threads.push_back({index(row, 1), row.integer(2), std::string(row.text(3))});
        });
        readTable("dd_function", [this](const SqliteStatement& row) {
            m_data.functions.push_back(
                {index(row, 1), index(row, 2), index(row, 3), index(row, 4), index(row, 5)});
        });
        readTable("metric", [this](const SqliteStatement& row) { readMetric(row); });
    }

    void readMetric(const SqliteStatement& row) {
        MetricColumn metric;
        metric.name = row.text(1);
        const std::int64_t unit = row.integer(2);
        if (unit < 0 || unit > static_cast<std::int64_t>(MetricUnit::bytes))
            refuse("a metric of an unknown unit");
        metric.unit = static_cast<MetricUnit>(unit);
        metric.is_integer = row.integer(3) != 0;
        m_data.metrics.push_back(std::move(metric));
    }

    // A chunk is whole but for the last one of its column.
    template <class T>
    void append(std::vector<T>& column, std::span<const std::byte> bytes, const std::string& name) {
        const std::size_t count = bytes.size() / sizeof(T);
        if (bytes.size() % sizeof(T) != 0 || count == 0 || count > column_chunk_values ||
            column.size() % column_chunk_values != 0)
            return refuse("column " + name + " has a chunk of a wrong size");
        const std::size_t old_size = column.size();
        column.resize(old_size + count);
        std::memcpy(column.data() + old_size, bytes.data(), bytes.size());
    }

    void verifyChunk(const std::string& column, std::int64_t chunk,
                     std::initializer_list<std::span<const std::byte>> parts) {
        if (!has_checksums()) return;
        Checksum sum;
        for (const std::span<const std::byte> part : parts)
            sum.add(part);
        verify(layout::chunkChecksum(column, chunk), sum);
    }

    void readStackTree() {
        std::int64_t expected = 0;
        std::vector<std::uint32_t> locations;
        readRows("SELECT chunk, parent, code_location FROM dd_callsite ORDER BY chunk",
                 [&](const SqliteStatement& row) {
                     if (row.integer(0) != expected++) refuse("table dd_callsite has a gap");
                     append(m_data.callsite_parents, row.bytes(1), "parent");
                     append(locations, row.bytes(2), "code_location");
                     verifyChunk(layout::stack_tree, row.integer(0), {row.bytes(1), row.bytes(2)});
                     keep(canceledIf(m_progress));
                 });
        resolveLocations(locations);
    }

    void resolveLocations(const std::vector<std::uint32_t>& locations) {
        std::vector<FunctionIndex> functions;
        readTable("dd_code_location",
                  [&](const SqliteStatement& row) { functions.push_back(index(row, 1)); });
        m_data.callsite_functions.reserve(locations.size());
        for (const std::uint32_t location : locations) {
            if (location >= functions.size()) return refuse("a stack node without its code location");
            m_data.callsite_functions.push_back(functions[location]);
        }
    }

    std::int64_t chunksOf(const std::string& name) {
        std::int64_t chunks = 0;
        SqliteStatement select;
        if (m_error.succeeded())
            keep(m_database.prepare("SELECT count(*) FROM sample_column WHERE name=?", select));
        if (m_error.failed()) return 0;
        bool has_row = false;
        keep(select.bind(1, std::string_view(name)).step(has_row));
        if (has_row) chunks = select.integer(0);
        return chunks;
    }

    template <class T>
    void readColumn(const std::string& name, std::vector<T>& column) {
        const std::int64_t chunks = chunksOf(name);
        SqliteStatement select;
        if (m_error.succeeded())
            keep(m_database.prepare("SELECT data FROM sample_column WHERE name=? AND chunk=?", select));
        if (m_error.failed()) return;
        column.reserve(mostValues(chunks, sizeof(T)));
        for (std::int64_t chunk = 0; chunk < chunks && m_error.succeeded(); ++chunk) {
            select.bind(1, std::string_view(name)).bind(2, chunk);
            bool has_row = false;
            keep(select.step(has_row));
            if (!has_row) return refuse("column " + name + " has a gap");
            append(column, select.bytes(0), name);
            verifyChunk(name, chunk, {select.bytes(0)});
            select.reset();
            keep(canceledIf(m_progress));
        }
    }

    /// How many values the chunks may hold together. The file's size bounds it, whatever the file says.
    std::size_t mostValues(std::int64_t chunks, std::size_t value_size) const {
        std::error_code error;
        const std::uintmax_t bytes = std::filesystem::file_size(m_path, error);
        if (error) return 0;
        return std::min(static_cast<std::size_t>(chunks) * column_chunk_values, bytes / value_size);
    }

    void readSamples() {
        readColumn("callsite", m_data.sample_callsites);
        readColumn("time", m_data.times);
        readColumn("thread", m_data.sample_threads);
        readColumn("count", m_data.sample_counts);
        for (std::size_t i = 0; i < m_data.metrics.size() && m_error.succeeded(); ++i) {
            MetricColumn& metric = m_data.metrics[i];
            if (metric.is_integer)
                readColumn(layout::metricColumn(i), metric.integers);
            else
                readColumn(layout::metricColumn(i), metric.decimals);
        }
    }

    ProfileData& m_data;
    DatabaseFacts& m_facts;
    std::string m_path;
    notifykit2::IProgress* m_progress;
    SqliteDatabase m_database;
    bk2::error_code_t m_error;
    std::unordered_map<std::string, std::int64_t> m_checksums; ///< those that nothing was compared with yet
};

} // namespace

bk2::error_code_t readProfileDatabase(const std::string& path, ProfileData& data, DatabaseFacts& facts,
                                      notifykit2::IProgress* progress) {
    data = {};
    facts = {};
    return DatabaseReader(data, facts, path, progress).read();
}

bk2::error_code_t readDatabaseFacts(const std::string& path, DatabaseFacts& facts) {
    ProfileData unused;
    facts = {};
    return DatabaseReader(unused, facts, path, nullptr).readFactsOnly();
}

} // namespace panedeck::engine
