#pragma once

#include "basekit/error_code.h"
#include "store/checksum.h"

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace panedeck::engine {

class SqliteStatement;

/// An open SQLite file. Every failure names the file. For one thread.
class SqliteDatabase {
public:
    /// Makes a new file for bulk writing, with the rights that the user gives to new files: no journal, no
    /// flushing; a crash leaves rubbish, so the caller writes beside the final place and flushes the finished
    /// file itself.
    bk2::error_code_t create(const std::string& path);

    /// Opens a file that nobody changes: no lock and no file beside it, so a read-only folder will do.
    bk2::error_code_t openReadOnly(const std::string& path);

    bk2::error_code_t execute(const std::string& sql);
    bk2::error_code_t prepare(std::string_view sql, SqliteStatement& statement);

    /// Closes the file; a failure to write what is left shows here.
    bk2::error_code_t close();

    /// The failure of the last call, with the file's name.
    bk2::error_code_t lastFailure() const;

private:
    struct Closer {
        void operator()(sqlite3* handle) const { sqlite3_close_v2(handle); }
    };

    bk2::error_code_t open(const std::string& uri, int flags);

    std::string m_path;
    std::unique_ptr<sqlite3, Closer> m_handle;
};

/// A prepared statement of a database, which must outlive it.
class SqliteStatement {
public:
    /// Adds what is bound from now on to `sum`, which must outlive the statement; null ends that.
    void countInto(Checksum* sum) { m_sum = sum; }

    SqliteStatement& bind(int parameter, std::int64_t value);
    /// Text and bytes are not copied: they must live until the next `run` or `step`.
    SqliteStatement& bind(int parameter, std::string_view text);
    SqliteStatement& bind(int parameter, std::span<const std::byte> bytes);

    /// Runs a statement that gives no rows and makes it ready for the next values.
    bk2::error_code_t run();

    /// Goes to the next row; `has_row` tells whether there is one.
    bk2::error_code_t step(bool& has_row);
    /// Makes the statement ready to run again; bound values stay.
    void reset() { sqlite3_reset(m_statement.get()); }

    std::int64_t integer(int column) const { return sqlite3_column_int64(m_statement.get(), column); }
    bool isNull(int column) const { return sqlite3_column_type(m_statement.get(), column) == SQLITE_NULL; }
    /// Both are valid until the next step.
    std::string_view text(int column) const;
    std::span<const std::byte> bytes(int column) const;
    /// Adds the row's values to `sum`, as they would have been added when they were bound.
    void addRow(Checksum& sum) const;

private:
    friend class SqliteDatabase;

    struct Finalizer {
        void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
    };

    std::unique_ptr<sqlite3_stmt, Finalizer> m_statement;
    const SqliteDatabase* m_database = nullptr;
    Checksum* m_sum = nullptr;
};

} // namespace panedeck::engine
