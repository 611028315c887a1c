#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace Terrascope::Plugins {

/// Why a query or a change could not be carried out.
enum class SqliteFailure {
    None,
    Locked,      ///< by another connection, for longer than is waited for
    Damaged,     ///< or no database at all
    Unfinished,  ///< a writer was killed, and this connection may not undo what it left half done
    Other,
};

/// The largest value of a database that is read, in bytes.
inline constexpr std::size_t kLargestValue = std::size_t{64} * 1024 * 1024;

/// One prepared query. Columns count from 0, parameters from 1.
///
/// Borrows: its connection's database, which it keeps open.
/// Threads: one at a time, and no other in the same connection.
class CSqliteStatement {
public:
    CSqliteStatement() = default;  ///< of no query; has no rows
    /// `result` is what preparing it resulted in.
    CSqliteStatement(sqlite3_stmt* statement, int result)
        : m_statement(statement), m_result(result) {}

    /// False when the text was no query that this database can answer.
    bool IsValid() const { return m_statement != nullptr; }

    CSqliteStatement& Bind(int parameter, std::int64_t value);
    CSqliteStatement& Bind(int parameter, std::string_view text);  ///< copied
    /// Not copied: they must live until Rewind or Run.
    CSqliteStatement& Bind(int parameter, std::span<const std::uint8_t> bytes);

    /// Goes to the next row, from before the first one. False at the end and after a failure.
    bool Next();
    bool HasFailed() const { return m_failed; }
    /// Of the last call, or of preparing the query.
    SqliteFailure Failure() const;
    /// Goes through all rows and back before the first one; for what changes something. False when
    /// it failed.
    bool Run();
    /// Back before the first row; ends the reading, and with it the database's lock.
    void Rewind();

    bool IsNull(int column) const;
    std::int64_t Whole(int column) const;
    double Real(int column) const;
    /// Valid until the next call of Next or Rewind.
    std::string_view Text(int column) const;
    std::span<const std::uint8_t> Bytes(int column) const;
    /// A text that describes: what is beyond its first MiB is cut off.
    std::string_view ShortText(int column) const {
        return Text(column).substr(0, std::size_t{1024} * 1024);
    }
    int Columns() const;

private:
    struct Finalize {
        void operator()(sqlite3_stmt* statement) const;
    };
    std::unique_ptr<sqlite3_stmt, Finalize> m_statement;
    int m_result = 0;  ///< SQLite's extended code
    bool m_failed = false;
};

/// A connection to a database that is only read. Its content is trusted in nothing: a query
/// ends after a time, no value is longer than the largest tile, and queries, those of the file's
/// views among them, call no functions but a few that are quick.
///
/// Threads: one at a time.
class CSqliteConnection {
public:
    /// Null, with the reason, when there is no such database. Nothing is written, nor laid beside
    /// the file. Where it is a database with a write-ahead log, and at rest, later changes do not
    /// show: whoever keeps the connection has to look at the file's time.
    static std::unique_ptr<CSqliteConnection> Open(const std::wstring& path, std::string& reason);

    /// A query of one statement; see CSqliteStatement::IsValid.
    CSqliteStatement Prepare(std::string_view sql);

    /// Lets what is asked from now on take so many milliseconds in all; a query that takes longer
    /// fails. A writer's lock is waited for for a quarter of a second each time.
    void AllowTime(std::uint64_t milliseconds);

    /// The reason why the last call failed.
    std::string LastError() const;

private:
    struct Close {
        void operator()(sqlite3* database) const;
    };
    explicit CSqliteConnection(sqlite3* database) : m_database(database) {}
    static int IsTimeUp(void* connection);

    std::unique_ptr<sqlite3, Close> m_database;
    std::uint64_t m_deadline = 0;  ///< GetTickCount64's milliseconds
};

/// While it lives, the connection keeps the lock that its first query takes: what is read is of one
/// moment, and further queries are cheap. A writer waits meanwhile.
///
/// Borrows: the connection. Requires: no other one of the same connection.
class CSqliteReading {
public:
    explicit CSqliteReading(CSqliteConnection& database);
    ~CSqliteReading();
    CSqliteReading(const CSqliteReading&) = delete;
    CSqliteReading& operator=(const CSqliteReading&) = delete;

private:
    CSqliteConnection& m_database;
};

/// A name as an identifier in a query, whatever it contains.
std::string QuotedName(std::string_view name);

}  // namespace Terrascope::Plugins
