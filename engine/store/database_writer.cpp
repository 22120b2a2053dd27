#include "store/database_layout.h"
#include "store/profile_database.h"
#include "store/sqlite_database.h"
#include "store/stack_tree.h"

#include <algorithm>
#include <functional>

namespace panedeck::engine {

namespace {

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
CREATE TABLE result_fact(id INTEGER PRIMARY KEY, name TEXT NOT NULL, value TEXT NOT NULL);
CREATE TABLE import_note(id INTEGER PRIMARY KEY, kind TEXT NOT NULL, reason TEXT NOT NULL, count INTEGER NOT NULL,
                         first_positions TEXT NOT NULL);
CREATE TABLE checksum(name TEXT PRIMARY KEY, sum INTEGER NOT NULL);
)";

bk2::error_code_t canceledIf(const notifykit2::IProgress* progress) {
    return notifykit2::is_canceled(progress) ? bk2::error_code_t::canceled() : bk2::error_code_t();
}

/// Writes one profile; the first failure sticks and the rest is skipped.
class DatabaseWriter {
public:
    DatabaseWriter(const ProfileData& data, const DatabaseFacts& facts, notifykit2::IProgress* progress)
        : m_data(data), m_facts(facts), m_progress(progress) {}

    bk2::error_code_t write(const std::string& path) {
        keep(m_database.create(path));
        execute(schema);
        execute(fmt::format("PRAGMA user_version={}; BEGIN", profile_schema_version));
        writeFacts();
        writeDimensions();
        writeStackTree();
        writeSamples();
        writeChecksums();
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

    void writeRows(const std::string& table, std::string_view places, std::size_t rows, const Bind& bind) {
        SqliteStatement insert;
        if (m_error.succeeded())
            keep(m_database.prepare(fmt::format("INSERT INTO {} VALUES({})", table, places), insert));
        Checksum sum;
        insert.countInto(&sum);
        for (std::size_t row = 0; row < rows && m_error.succeeded(); ++row) {
            if (row % rows_between_polls == 0) keep(canceledIf(m_progress));
            insert.bind(1, static_cast<std::int64_t>(row));
            bind(insert, row);
            if (m_error.succeeded()) keep(insert.run());
        }
        m_checksums.emplace_back(table, sum.value());
    }

    void writeNames(const std::string& table, const std::vector<std::string>& names) {
        writeRows(table, "?,?", names.size(), [&](SqliteStatement& insert, std::size_t row) {
            insert.bind(2, std::string_view(names[row]));
        });
    }

    void writeFacts() {
        const std::pair<const char*, const std::string&> facts[] = {
            {layout::result_id, m_facts.result_id}, {layout::position_unit, m_facts.notes.position_unit}};
        writeRows("result_fact", "?,?,?", std::size(facts), [&](SqliteStatement& insert, std::size_t row) {
            insert.bind(2, std::string_view(facts[row].first)).bind(3, std::string_view(facts[row].second));
        });
        writeNotes();
    }

    void writeNotes() {
        const std::size_t skipped = m_facts.notes.skipped.size();
        const std::size_t notes = skipped + m_facts.notes.adjusted.size();
        std::string positions;
        writeRows("import_note", "?,?,?,?,?", notes, [&](SqliteStatement& insert, std::size_t row) {
            const bool is_skipped = row < skipped;
            const CountedReason& reason =
                is_skipped ? m_facts.notes.skipped[row] : m_facts.notes.adjusted[row - skipped];
            positions = fmt::format("{}", fmt::join(reason.first_positions, " "));
            insert.bind(2, std::string_view(is_skipped ? layout::skipped : layout::adjusted));
            insert.bind(3, std::string_view(reason.reason)).bind(4, static_cast<std::int64_t>(reason.count));
            insert.bind(5, std::string_view(positions));
        });
    }

    void writeChecksums() {
        SqliteStatement insert;
        if (m_error.succeeded()) keep(m_database.prepare("INSERT INTO checksum VALUES(?,?)", insert));
        for (const auto& [name, sum] : m_checksums)
            if (m_error.succeeded()) keep(insert.bind(1, std::string_view(name)).bind(2, sum).run());
    }

    void writeDimensions() {
        writeNames("dd_module_file", m_data.modules);
        writeNames("dd_source_file", m_data.source_files);
        writeNames("dd_function_name", m_data.names);
        writeRows("dd_process", "?,?,?", m_data.processes.size(),
                  [this](SqliteStatement& insert, std::size_t row) {
                      const ProcessRecord& process = m_data.processes[row];
                      insert.bind(2, process.pid).bind(3, std::string_view(process.name));
                  });
        writeRows("dd_thread", "?,?,?,?", m_data.threads.size(),
                  [this](SqliteStatement& insert, std::size_t row) {
                      const ThreadRecord& thread = m_data.threads[row];
                      insert.bind(2, std::int64_t{thread.process}).bind(3, thread.tid);
                      insert.bind(4, std::string_view(thread.name));
                  });
        writeFunctions();
        writeRows("metric", "?,?,?,?", m_data.metrics.size(),
                  [this](SqliteStatement& insert, std::size_t row) {
                      const MetricColumn& metric = m_data.metrics[row];
                      insert.bind(2, std::string_view(metric.name));
                      insert.bind(3, static_cast<std::int64_t>(metric.unit));
                      insert.bind(4, std::int64_t{metric.is_integer});
                  });
    }

    void writeFunctions() {
        writeRows("dd_function", "?,?,?,?,?,?", m_data.functions.size(),
                  [this](SqliteStatement& insert, std::size_t row) {
                      const FunctionRecord& function = m_data.functions[row];
                      insert.bind(2, std::int64_t{function.name}).bind(3, std::int64_t{function.module});
                      insert.bind(4, std::int64_t{function.source_file});
                      insert.bind(5, std::int64_t{function.line}).bind(6, std::int64_t{function.column});
                  });
        // The importers know no address or line inside a function: each function is one code location.
        writeRows(
            "dd_code_location", "?,?", m_data.functions.size(),
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

    /// Runs `insert` after `bind` has bound the bytes of the chunk, which get a checksum.
    template <class BindBytes>
    void insertChunk(SqliteStatement& insert, const std::string& column, std::size_t chunk,
                     const BindBytes& bind) {
        Checksum sum;
        insert.countInto(&sum);
        bind();
        insert.countInto(nullptr);
        keep(insert.run());
        keep(canceledIf(m_progress));
        m_checksums.emplace_back(layout::chunkChecksum(column, static_cast<std::int64_t>(chunk)),
                                 sum.value());
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
            insertChunk(insert, layout::stack_tree, chunk,
                        [&] { insert.bind(2, chunkOf(parents, chunk)).bind(3, chunkOf(functions, chunk)); });
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
            insertChunk(insert, name, chunk, [&] { insert.bind(3, chunkOf(column, chunk)); });
        }
    }

    void writeSamples() {
        writeColumn("time", m_data.times);
        writeColumn("thread", m_data.sample_threads);
        writeCallsites();
        writeColumn("count", m_data.sample_counts);
        for (std::size_t i = 0; i < m_data.metrics.size(); ++i) {
            writeColumn(layout::metricColumn(i), m_data.metrics[i].integers);
            writeColumn(layout::metricColumn(i), m_data.metrics[i].decimals);
        }
    }

    const ProfileData& m_data;
    const DatabaseFacts& m_facts;
    notifykit2::IProgress* m_progress;
    SqliteDatabase m_database;
    bk2::error_code_t m_error;
    std::vector<std::pair<std::string, std::int64_t>> m_checksums; ///< by the names of `layout`
    std::vector<CallsiteIndex> m_numbers; ///< of the nodes in the file; empty if they keep theirs
};

} // namespace

bk2::error_code_t writeProfileDatabase(const ProfileData& data, const DatabaseFacts& facts,
                                       const std::string& path, notifykit2::IProgress* progress) {
    return DatabaseWriter(data, facts, progress).write(path);
}

} // namespace panedeck::engine
