#include "plugins/db/Sqlite.h"

#include <sqlite3.h>
#include <windows.h>

#include <mutex>

#include "plugins/common/PlainText.h"
#include "plugins/db/ITileArchive.h"

namespace Terrascope::Plugins {
namespace {

constexpr int kLockWait = 250;            // milliseconds
constexpr int kStepsBetweenLooks = 5000;  // of SQLite's machine, between two looks at the clock

/// SQLite's own way to open a file keeps it from being renamed and deleted.
HANDLE WINAPI OpenForDeletion(LPCWSTR name, DWORD access, DWORD share,
                              SECURITY_ATTRIBUTES* security, DWORD creation, DWORD flags,
                              HANDLE pattern) {
    return ::CreateFileW(name, access, share | FILE_SHARE_DELETE, security, creation, flags,
                         pattern);
}

void PrepareFileSystem() {
    static std::once_flag done;
    std::call_once(done, [] {
        sqlite3_initialize();
        sqlite3_vfs* const files = sqlite3_vfs_find(nullptr);
        files->xSetSystemCall(files, "CreateFileW",
                              reinterpret_cast<sqlite3_syscall_ptr>(&OpenForDeletion));
    });
}

}  // namespace

void CSqliteStatement::Finalize::operator()(sqlite3_stmt* statement) const {
    sqlite3_finalize(statement);
}

CSqliteStatement& CSqliteStatement::Bind(int parameter, std::int64_t value) {
    sqlite3_bind_int64(m_statement.get(), parameter, value);
    return *this;
}

CSqliteStatement& CSqliteStatement::Bind(int parameter, std::string_view text) {
    sqlite3_bind_text(m_statement.get(), parameter, text.data(), static_cast<int>(text.size()),
                      SQLITE_TRANSIENT);
    return *this;
}

bool CSqliteStatement::Next() {
    const int result = m_statement != nullptr ? sqlite3_step(m_statement.get()) : SQLITE_ERROR;
    m_failed = result != SQLITE_ROW && result != SQLITE_DONE;
    return result == SQLITE_ROW;
}

void CSqliteStatement::Rewind() {
    if (m_statement != nullptr) {
        sqlite3_reset(m_statement.get());
    }
}

bool CSqliteStatement::IsNull(int column) const {
    return sqlite3_column_type(m_statement.get(), column) == SQLITE_NULL;
}

std::int64_t CSqliteStatement::Whole(int column) const {
    return sqlite3_column_int64(m_statement.get(), column);
}

double CSqliteStatement::Real(int column) const {
    return sqlite3_column_double(m_statement.get(), column);
}

std::string_view CSqliteStatement::Text(int column) const {
    // The text first: it may be converted, and the count is that of the conversion.
    const auto* text =
        reinterpret_cast<const char*>(sqlite3_column_text(m_statement.get(), column));
    return text != nullptr ? std::string_view(text, static_cast<std::size_t>(sqlite3_column_bytes(
                                                        m_statement.get(), column)))
                           : std::string_view();
}

std::span<const std::uint8_t> CSqliteStatement::Bytes(int column) const {
    const auto* bytes =
        static_cast<const std::uint8_t*>(sqlite3_column_blob(m_statement.get(), column));
    return bytes != nullptr ? std::span(bytes, static_cast<std::size_t>(
                                                   sqlite3_column_bytes(m_statement.get(), column)))
                            : std::span<const std::uint8_t>();
}

void CSqliteConnection::Close::operator()(sqlite3* database) const {
    sqlite3_close_v2(database);
}

std::unique_ptr<CSqliteConnection> CSqliteConnection::Open(const std::wstring& path,
                                                           std::string& reason) {
    PrepareFileSystem();
    sqlite3* database = nullptr;
    const int result =
        sqlite3_open_v2(Utf8FromWide(path).c_str(), &database, SQLITE_OPEN_READONLY, nullptr);
    std::unique_ptr<CSqliteConnection> connection(new CSqliteConnection(database));
    if (result != SQLITE_OK) {
        reason = database != nullptr ? sqlite3_errmsg(database) : "out of memory";
        return nullptr;
    }
    sqlite3_extended_result_codes(database, 1);
    sqlite3_busy_timeout(database, kLockWait);
    sqlite3_progress_handler(database, kStepsBetweenLooks, &IsTimeUp, connection.get());
    sqlite3_limit(database, SQLITE_LIMIT_LENGTH, static_cast<int>(kLargestTile));
    // Views of the file may call no function that does more than compute.
    sqlite3_db_config(database, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    sqlite3_db_config(database, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    return connection;
}

CSqliteStatement CSqliteConnection::Prepare(std::string_view sql) {
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare_v3(m_database.get(), sql.data(), static_cast<int>(sql.size()),
                       SQLITE_PREPARE_PERSISTENT, &statement, nullptr);
    return CSqliteStatement(statement);
}

void CSqliteConnection::AllowTime(std::uint64_t milliseconds) {
    m_deadline = ::GetTickCount64() + milliseconds;
}

int CSqliteConnection::IsTimeUp(void* connection) {
    return ::GetTickCount64() >= static_cast<CSqliteConnection*>(connection)->m_deadline ? 1 : 0;
}

std::string CSqliteConnection::LastError() const {
    return sqlite3_errmsg(m_database.get());
}

CSqliteReading::CSqliteReading(CSqliteConnection& database) : m_database(database) {
    m_database.Prepare("BEGIN").Next();
}

CSqliteReading::~CSqliteReading() {
    m_database.Prepare("ROLLBACK").Next();
}

std::string QuotedName(std::string_view name) {
    std::string quoted = "\"";
    for (const char c : name) {
        quoted.append(c == '"' ? 2 : 1, c);
    }
    return quoted + '"';
}

}  // namespace Terrascope::Plugins
