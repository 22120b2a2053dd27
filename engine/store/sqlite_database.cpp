#include "store/sqlite_database.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace panedeck::engine {

namespace {

constexpr char bulk_writing[] = "PRAGMA page_size=16384; PRAGMA journal_mode=OFF; PRAGMA synchronous=OFF;"
                                "PRAGMA locking_mode=EXCLUSIVE; PRAGMA cache_size=-16384;";
// Blobs are then copied once, from the page cache into the column.
constexpr char bulk_reading[] =
    "PRAGMA mmap_size=1099511627776; PRAGMA query_only=1; PRAGMA cell_size_check=1;"
    "PRAGMA trusted_schema=OFF;";

// The characters that would end the path or start something else in a file URI.
std::string toUri(const std::string& path) {
    std::string uri = "file:";
    for (const char c : path)
        uri += c == '?' || c == '#' || c == '%' ? fmt::format("%{:02x}", c) : std::string(1, c);
    return uri;
}

} // namespace

bk2::error_code_t SqliteDatabase::create(const std::string& path) {
    m_path = path;
    // SQLite would take fewer rights than it could, and a file that somebody else has put there.
    const int descriptor = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
    if (descriptor < 0) return bk2::error_code_t::failure(fmt::format("{}: {}", path, std::strerror(errno)));
    ::close(descriptor);
    if (auto error = open(toUri(path), SQLITE_OPEN_READWRITE); error.failed()) return error;
    return execute(bulk_writing);
}

bk2::error_code_t SqliteDatabase::openReadOnly(const std::string& path) {
    m_path = path;
    if (auto error = open(toUri(path) + "?immutable=1", SQLITE_OPEN_READONLY); error.failed()) return error;
    return execute(bulk_reading);
}

bk2::error_code_t SqliteDatabase::open(const std::string& uri, int flags) {
    sqlite3* handle = nullptr;
    const int code =
        sqlite3_open_v2(uri.c_str(), &handle, flags | SQLITE_OPEN_URI | SQLITE_OPEN_NOMUTEX, nullptr);
    m_handle.reset(handle);
    return code == SQLITE_OK ? bk2::error_code_t() : lastFailure();
}

bk2::error_code_t SqliteDatabase::execute(const std::string& sql) {
    const int code = sqlite3_exec(m_handle.get(), sql.c_str(), nullptr, nullptr, nullptr);
    return code == SQLITE_OK ? bk2::error_code_t() : lastFailure();
}

bk2::error_code_t SqliteDatabase::prepare(std::string_view sql, SqliteStatement& statement) {
    sqlite3_stmt* prepared = nullptr;
    const int code =
        sqlite3_prepare_v2(m_handle.get(), sql.data(), static_cast<int>(sql.size()), &prepared, nullptr);
    statement.m_statement.reset(prepared);
    statement.m_database = this;
    return code == SQLITE_OK ? bk2::error_code_t() : lastFailure();
}

bk2::error_code_t SqliteDatabase::close() {
    sqlite3* handle = m_handle.release();
    const int code = sqlite3_close(handle);
    if (code == SQLITE_OK) return {};
    m_handle.reset(handle);
    return lastFailure();
}

bk2::error_code_t SqliteDatabase::lastFailure() const {
    const char* reason = m_handle ? sqlite3_errmsg(m_handle.get()) : "out of memory";
    return bk2::error_code_t::failure(fmt::format("{}: {}", m_path, reason));
}

SqliteStatement& SqliteStatement::bind(int parameter, std::int64_t value) {
    sqlite3_bind_int64(m_statement.get(), parameter, value);
    if (m_sum) m_sum->add(value);
    return *this;
}

SqliteStatement& SqliteStatement::bind(int parameter, std::string_view text) {
    // A null pointer would bind NULL: an empty text is a text.
    const char* characters = text.data() ? text.data() : "";
    sqlite3_bind_text64(m_statement.get(), parameter, characters, text.size(), SQLITE_STATIC, SQLITE_UTF8);
    if (m_sum) m_sum->add(text);
    return *this;
}

SqliteStatement& SqliteStatement::bind(int parameter, std::span<const std::byte> bytes) {
    sqlite3_bind_blob64(m_statement.get(), parameter, bytes.data(), bytes.size(), SQLITE_STATIC);
    if (m_sum) m_sum->add(bytes);
    return *this;
}

bk2::error_code_t SqliteStatement::run() {
    const int code = sqlite3_step(m_statement.get());
    const bk2::error_code_t error = code == SQLITE_DONE ? bk2::error_code_t() : m_database->lastFailure();
    reset();
    return error;
}

bk2::error_code_t SqliteStatement::step(bool& has_row) {
    const int code = sqlite3_step(m_statement.get());
    has_row = code == SQLITE_ROW;
    return has_row || code == SQLITE_DONE ? bk2::error_code_t() : m_database->lastFailure();
}

std::string_view SqliteStatement::text(int column) const {
    const auto* characters = reinterpret_cast<const char*>(sqlite3_column_text(m_statement.get(), column));
    if (!characters) return {};
    return {characters, static_cast<std::size_t>(sqlite3_column_bytes(m_statement.get(), column))};
}

std::span<const std::byte> SqliteStatement::bytes(int column) const {
    const auto* data = static_cast<const std::byte*>(sqlite3_column_blob(m_statement.get(), column));
    if (!data) return {};
    return {data, static_cast<std::size_t>(sqlite3_column_bytes(m_statement.get(), column))};
}

void SqliteStatement::addRow(Checksum& sum) const {
    for (int column = 0; column < sqlite3_column_count(m_statement.get()); ++column)
        switch (sqlite3_column_type(m_statement.get(), column)) {
        case SQLITE_INTEGER:
            sum.add(integer(column));
            break;
        case SQLITE_TEXT:
            sum.add(text(column));
            break;
        default: // a kind that is not stored here adds what no other kind does
            sum.add(bytes(column));
            break;
        }
}

} // namespace panedeck::engine
