#include "store/profile_database.h"

#include "store/sqlite_database.h"
#include "store/stack_tree.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <filesystem>
#include <functional>

namespace panedeck::engine {

namespace {

static_assert(std::endian::native == std::endian::little, "columns are stored as they lie in memory");

constexpr char schema[] = R"(
CREATE TABLE dd_process(id INTEGER PRIMARY KEY, pid INTEGER NOT NULL, name TEXT NOT NULL);
CREATE TABLE dd_thread(id INTEGER PRIMARY KEY, process INTEGER NOT NULL, tid INTEGER NOT NULL, name TEXT NOT NULL);
CREATE TABLE dd_module_file(id INTEGER PRIMARY KEY, name TEXT NOT NULL);
CREATE TABLE dd_source_file(id INTEGER PRIMARY KEY, name TEXT NOT NULL);
CREATE TABLE dd_function_name(id INTEGER PRIMARY KEY, name TEXT NOT NULL);
CREATE TABLE dd_function(id INTEGER PRIMARY KEY, name INTEGER NOT NULL, module_file INTEGER NOT NULL,
                         source_file INTEGER NOT NULL, line INTEGER NOT NULL, "column" INTEGER NOT NULL);
CREATE TABLE dd_code_location(id INTEGER PRIMARY KEY, function INTEGER NOT NULL);
CREATE TABLE dd_callsite(chunk INTEGER PRIMARY KEY, parent BLOB NOT NULL, code_location BLOB NOT NULL);
CREATE TABLE metric(id INTEGER PRIMARY KEY, name TEXT NOT NULL, unit INTEGER NOT NULL, is_integer INTEGER NOT NULL);
CREATE TABLE sample_column(name TEXT NOT NULL, chunk INTEGER NOT NULL, data BLOB NOT NULL, UNIQUE(name, chunk));
)";

bk2::error_code_t canceledIf(const notifykit2::IProgress* progress) {
    return notifykit2::is_canceled(progress) ? bk2::error_code_t::canceled() : bk2::error_code_t();
}

std::string metricColumnName(std::size_t index) {
    return fmt::format("metric:{}", index);
}

// How often row loops look at the progress object: some milliseconds of work.
constexpr std::size_t rows_between_polls = 16384;

/// Writes one profile; the first failure sticks and the rest is skipped.
class DatabaseWriter {
public:
    DatabaseWriter(const ProfileData& data, notifykit2::IProgress* progress)
        : m_data(data), m_progress(progress) {}

    bk2::error_code_t write(const std::string& path) {
        keep(m_database.create(path));
        execute(schema);
        execute(fmt::format("PRAGMA user_version={}; BEGIN", profile_schema_version));
        writeDimensions();
        writeStackTree();
        writeSamples();
        execute("COMMIT");
        if (m_error.succeeded()) keep(m_database.close());
        return m_error;
    }

private:
    using Bind = std::function<void(SqliteStatement&, std::size_t)>;

    void keep(const bk2::error_code_t& error) {
        if (m_error.succeeded() && error.failed()) m_error = error;
    }
    void execute(const std::string& sql) {
        if (m_error.succeeded()) keep(m_database.execute(sql));
    }

    void writeRows(std::string_view sql, std::size_t rows, const Bind& bind) {
        SqliteStatement insert;
        if (m_error.succeeded()) keep(m_database.prepare(sql, insert));
        for (std::size_t row = 0; row < rows && m_error.succeeded(); ++row) {
            if (row % rows_between_polls == 0) keep(canceledIf(m_progress));
            insert.bind(1, static_cast<std::int64_t>(row));
            bind(insert, row);
            if (m_error.succeeded()) keep(insert.run());
        }
    }

    void writeNames(const std::string& table, const std::vector<std::string>& names) {
        writeRows(
            "INSERT INTO " + table + " VALUES(?,?)", names.size(),
            [&](SqliteStatement& insert, std::size_t row) { insert.bind(2, std::string_view(names[row])); });
    }

    void writeDimensions() {
        writeNames("dd_module_file", m_data.modules);
        writeNames("dd_source_file", m_data.source_files);
        writeNames("dd_function_name", m_data.names);
        writeRows("INSERT INTO dd_process VALUES(?,?,?)", m_data.processes.size(),
                  [this](SqliteStatement& insert, std::size_t row) {
                      const ProcessRecord& process = m_data.processes[row];
                      insert.bind(2, process.pid).bind(3, std::string_view(process.name));
                  });
        writeRows("INSERT INTO dd_thread VALUES(?,?,?,?)", m_data.threads.size(),
                  [this](SqliteStatement& insert, std::size_t row) {
                      const ThreadRecord& thread = m_data.threads[row];
                      insert.bind(2, std::int64_t{thread.process}).bind(3, thread.tid);
                      insert.bind(4, std::string_view(thread.name));
                  });
        writeFunctions();
        writeRows("INSERT INTO metric VALUES(?,?,?,?)", m_data.metrics.size(),
                  [this](SqliteStatement& insert, std::size_t row) {
                      const MetricColumn& metric = m_data.metrics[row];
                      insert.bind(2, std::string_view(metric.name));
                      insert.bind(3, static_cast<std::int64_t>(metric.unit));
                      insert.bind(4, std::int64_t{metric.is_integer});
                  });
    }

    void writeFunctions() {
        writeRows("INSERT INTO dd_function VALUES(?,?,?,?,?,?)", m_data.functions.size(),
                  [this](SqliteStatement& insert, std::size_t row) {
                      const FunctionRecord& function = m_data.functions[row];
                      insert.bind(2, std::int64_t{function.name}).bind(3, std::int64_t{function.module});
                      insert.bind(4, std::int64_t{function.source_file});
                      insert.bind(5, std::int64_t{function.line}).bind(6, std::int64_t{function.column});
                  });
        // The importers know no address or line inside a function: each function is one code location.
        writeRows(
            "INSERT INTO dd_code_location VALUES(?,?)", m_data.functions.size(),
            [](SqliteStatement& insert, std::size_t row) { insert.bind(2, static_cast<std::int64_t>(row)); });
    }

    template <class T>
    static std::span<const std::byte> chunkOf(const std::vector<T>& column, std::size_t chunk) {
        const std::size_t first = chunk * column_chunk_values;
        const std::size_t count = std::min(column_chunk_values, column.size() - first);
        return std::as_bytes(std::span(column).subspan(first, count));
    }

    static std::size_t chunksOf(std::size_t values) {
        return (values + column_chunk_values - 1) / column_chunk_values;
    }

    // In preorder, as queries want the nodes: opening then has nothing to renumber.
    void writeStackTree() {
        if (isPreorder(m_data.callsite_parents))
            return writeStackTree(m_data.callsite_parents, m_data.callsite_functions);
        m_numbers = preorderNumbers(m_data.callsite_parents);
        std::vector<CallsiteIndex> parents(m_numbers.size());
        std::vector<FunctionIndex> functions(m_numbers.size());
        for (std::size_t node = 0; node < m_numbers.size(); ++node) {
            parents[m_numbers[node]] = m_numbers[m_data.callsite_parents[node]];
            functions[m_numbers[node]] = m_data.callsite_functions[node];
        }
        writeStackTree(parents, functions);
    }

    void writeStackTree(const std::vector<CallsiteIndex>& parents,
                        const std::vector<FunctionIndex>& functions) {
        SqliteStatement insert;
        if (m_error.succeeded()) keep(m_database.prepare("INSERT INTO dd_callsite VALUES(?,?,?)", insert));
        const std::size_t chunks = chunksOf(parents.size());
        for (std::size_t chunk = 0; chunk < chunks && m_error.succeeded(); ++chunk) {
            insert.bind(1, static_cast<std::int64_t>(chunk));
            insert.bind(2, chunkOf(parents, chunk));
            insert.bind(3, chunkOf(functions, chunk));
            keep(insert.run());
            keep(canceledIf(m_progress));
        }
    }

    void writeCallsites() {
        if (m_numbers.empty()) return writeColumn("callsite", m_data.sample_callsites);
        std::vector<CallsiteIndex> callsites(m_data.sample_callsites);
        for (CallsiteIndex& callsite : callsites)
            callsite = m_numbers[callsite];
        writeColumn("callsite", callsites);
    }

    template <class T>
    void writeColumn(const std::string& name, const std::vector<T>& column) {
        SqliteStatement insert;
        if (m_error.succeeded()) keep(m_database.prepare("INSERT INTO sample_column VALUES(?,?,?)", insert));
        for (std::size_t chunk = 0; chunk < chunksOf(column.size()) && m_error.succeeded(); ++chunk) {
            insert.bind(1, std::string_view(name)).bind(2, static_cast<std::int64_t>(chunk));
            insert.bind(3, chunkOf(column, chunk));
            keep(insert.run());
            keep(canceledIf(m_progress));
        }
    }

    void writeSamples() {
        writeColumn("time", m_data.times);
        writeColumn("thread", m_data.sample_threads);
        writeCallsites();
        writeColumn("count", m_data.sample_counts);
        for (std::size_t i = 0; i < m_data.metrics.size(); ++i) {
            writeColumn(metricColumnName(i), m_data.metrics[i].integers);
            writeColumn(metricColumnName(i), m_data.metrics[i].decimals);
        }
    }

    const ProfileData& m_data;
    notifykit2::IProgress* m_progress;
    SqliteDatabase m_database;
    bk2::error_code_t m_error;
    std::vector<CallsiteIndex> m_numbers; ///< of the nodes in the file; empty if they keep theirs
};

/// Reads one profile; the first failure sticks and the rest is skipped.
class DatabaseReader {
public:
    DatabaseReader(ProfileData& data, std::string path, notifykit2::IProgress* progress)
        : m_data(data), m_path(std::move(path)), m_progress(progress) {}

    bk2::error_code_t read() {
        keep(m_database.openReadOnly(m_path));
        checkSchema();
        readDimensions();
        readStackTree();
        readSamples();
        return m_error;
    }

private:
    using Take = std::function<void(const SqliteStatement&)>;

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
        readRows("SELECT * FROM " + table + " ORDER BY id", [&](const SqliteStatement& row) {
            if (row.integer(0) != expected++) refuse("table " + table + " has a gap");
            take(row);
        });
    }

    void checkSchema() {
        readRows("PRAGMA user_version", [this](const SqliteStatement& row) {
            const std::int64_t version = row.integer(0);
            if (version > profile_schema_version)
                refuse(fmt::format(
                    "written by a newer version of this program (schema {}, this one reads up to {})",
                    version, profile_schema_version));
            else if (version != profile_schema_version)
                refuse(fmt::format("no result database (schema {})", version));
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

    void readStackTree() {
        std::int64_t expected = 0;
        std::vector<std::uint32_t> locations;
        readRows("SELECT chunk, parent, code_location FROM dd_callsite ORDER BY chunk",
                 [&](const SqliteStatement& row) {
                     if (row.integer(0) != expected++) refuse("table dd_callsite has a gap");
                     append(m_data.callsite_parents, row.bytes(1), "parent");
                     append(locations, row.bytes(2), "code_location");
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
            if (has_row)
                append(column, select.bytes(0), name);
            else
                refuse("column " + name + " has a gap");
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
                readColumn(metricColumnName(i), metric.integers);
            else
                readColumn(metricColumnName(i), metric.decimals);
        }
    }

    ProfileData& m_data;
    std::string m_path;
    notifykit2::IProgress* m_progress;
    SqliteDatabase m_database;
    bk2::error_code_t m_error;
};

} // namespace

bk2::error_code_t writeProfileDatabase(const ProfileData& data, const std::string& path,
                                       notifykit2::IProgress* progress) {
    return DatabaseWriter(data, progress).write(path);
}

bk2::error_code_t readProfileDatabase(const std::string& path, ProfileData& data,
                                      notifykit2::IProgress* progress) {
    data = {};
    return DatabaseReader(data, path, progress).read();
}

} // namespace panedeck::engine
