#include "plugins/common/sqlite/Sqlite.h"

#include <sqlite3.h>
#include <windows.h>

#include <algorithm>
#include <array>
#include <optional>

#include "plugins/common/FolderFiles.h"
#include "plugins/common/PlainText.h"
#include "plugins/common/sqlite/SqliteFileSystem.h"
#include "terrascope/support/Handles.h"

namespace Terrascope::Plugins {
namespace {

constexpr int kLockWait = 250;           // milliseconds
constexpr int kStepsBetweenLooks = 500;  // of SQLite's machine, between two looks at the clock
constexpr int kLongestPattern = 50;      // bytes, of LIKE
/// What the views of tiles may call. A function is one step of SQLite's machine, however long it
/// takes, and these take no longer than it takes to read what they are given.
constexpr std::array<std::string_view, 14> kQuickFunctions{
    "abs", "coalesce", "count", "ifnull", "iif",       "length", "max",
    "min", "nullif",   "round", "substr", "substring", "typeof", "zeroblob"};

int Authorize(void*, int action, const char*, const char* function, const char*, const char*) {
    const bool isRefused =
        action == SQLITE_FUNCTION &&
        (function == nullptr || std::find(kQuickFunctions.begin(), kQuickFunctions.end(),
                                          std::string_view(function)) == kQuickFunctions.end());
    return isRefused ? SQLITE_DENY : SQLITE_OK;
}

/// Whether a database is one with a log of its changes that lies at rest: all is in the file, and
/// no log with changes is beside it.
bool IsRestingLogged(const std::wstring& path) {
    // Source: the SQLite file format; the versions for writing and reading are 2 with such a log.
    constexpr DWORD kVersionsEnd = 20;
    std::array<std::uint8_t, kVersionsEnd> start{};
    const CFileHandle file(::CreateFileW(path.c_str(), GENERIC_READ,
                                         FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                         nullptr, OPEN_EXISTING, 0, nullptr));
    DWORD read = 0;
    if (!file || !::ReadFile(file.Get(), start.data(), kVersionsEnd, &read, nullptr) ||
        start[kVersionsEnd - 1] != 2) {
        return false;
    }
    const std::optional<FileFacts> log = LookAtFile(path + L"-wal");
    return !log || log->size == 0;
}

/// The path as an address of SQLite's, for a file that no one changes.
std::string AddressOf(const std::wstring& path) {
    std::string address = "file:///";
    for (const char c : Utf8FromWide(path)) {
        if (c == '\\') {
            address += '/';
        } else if (std::string_view("%?# ").find(c) != std::string_view::npos) {
            constexpr std::string_view kDigits = "0123456789ABCDEF";
            address += {'%', kDigits[static_cast<unsigned char>(c) >> 4], kDigits[c & 0xF]};
        } else {
            address += c;
        }
    }
    return address + "?immutable=1";
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

CSqliteStatement& CSqliteStatement::Bind(int parameter, std::span<const std::uint8_t> bytes) {
    sqlite3_bind_blob64(m_statement.get(), parameter, bytes.data(), bytes.size(), SQLITE_STATIC);
    return *this;
}

bool CSqliteStatement::Next() {
    if (m_statement == nullptr) {
        m_failed = true;  // the result stays that of preparing it
        return false;
    }
    m_result = sqlite3_step(m_statement.get());
    m_failed = m_result != SQLITE_ROW && m_result != SQLITE_DONE;
    return m_result == SQLITE_ROW;
}

bool CSqliteStatement::Run() {
    while (Next()) {
    }
    Rewind();
    return !m_failed;
}

SqliteFailure CSqliteStatement::Failure() const {
    constexpr int kPrimary = 0xFF;
    switch (m_result & kPrimary) {
        case SQLITE_OK:
        case SQLITE_ROW:
        case SQLITE_DONE:
            return SqliteFailure::None;
        case SQLITE_BUSY:
        case SQLITE_LOCKED:
            return SqliteFailure::Locked;
        case SQLITE_CORRUPT:
        case SQLITE_NOTADB:
            return SqliteFailure::Damaged;
        default:
            return m_result == SQLITE_READONLY_ROLLBACK ? SqliteFailure::Unfinished
                                                        : SqliteFailure::Other;
    }
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

int CSqliteStatement::Columns() const {
    return sqlite3_column_count(m_statement.get());
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
    PrepareSqliteFiles();
    sqlite3* database = nullptr;
    // SQLite would lay two files beside such a database, and fail where it may not.
    const bool isResting = !path.starts_with(L"\\\\") && IsRestingLogged(path);
    const int result =
        sqlite3_open_v2(isResting ? AddressOf(path).c_str() : Utf8FromWide(path).c_str(), &database,
                        SQLITE_OPEN_READONLY | (isResting ? SQLITE_OPEN_URI : 0), nullptr);
    std::unique_ptr<CSqliteConnection> connection(new CSqliteConnection(database));
    if (result != SQLITE_OK) {
        reason = database != nullptr ? sqlite3_errmsg(database) : "out of memory";
        return nullptr;
    }
    sqlite3_extended_result_codes(database, 1);
    sqlite3_busy_timeout(database, kLockWait);
    sqlite3_progress_handler(database, kStepsBetweenLooks, &IsTimeUp, connection.get());
    sqlite3_limit(database, SQLITE_LIMIT_LENGTH, static_cast<int>(kLargestValue));
    sqlite3_set_authorizer(database, &Authorize, nullptr);
    // No one is asked about the functions of generated columns.
    sqlite3_limit(database, SQLITE_LIMIT_LIKE_PATTERN_LENGTH, kLongestPattern);
    // Views of the file may call no function that does more than compute.
    sqlite3_db_config(database, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    sqlite3_db_config(database, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    return connection;
}

CSqliteStatement CSqliteConnection::Prepare(std::string_view sql) {
    sqlite3_stmt* statement = nullptr;
    const int result =
        sqlite3_prepare_v3(m_database.get(), sql.data(), static_cast<int>(sql.size()),
                           SQLITE_PREPARE_PERSISTENT, &statement, nullptr);
    return {statement, result};
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
