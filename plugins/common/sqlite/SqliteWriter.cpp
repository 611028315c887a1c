#include "plugins/common/sqlite/SqliteWriter.h"

#include <sqlite3.h>
#include <windows.h>

#include "plugins/common/PlainText.h"
#include "plugins/common/sqlite/SqliteFileSystem.h"

namespace Terrascope::Plugins {

std::unique_ptr<CSqliteWriter> CSqliteWriter::Open(const std::wstring& path, MayWait mayWait) {
    PrepareSqliteFiles();
    std::unique_ptr<CSqliteWriter> writer(new CSqliteWriter(std::move(mayWait)));
    if (sqlite3_open_v2(Utf8FromWide(path).c_str(), &writer->m_database,
                        SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr) != SQLITE_OK) {
        return nullptr;
    }
    sqlite3* const database = writer->m_database;
    sqlite3_extended_result_codes(database, 1);
    sqlite3_busy_handler(database, &WaitForLock, writer.get());
    sqlite3_limit(database, SQLITE_LIMIT_LENGTH, static_cast<int>(kLargestValue));
    for (const int setting : {SQLITE_DBCONFIG_TRUSTED_SCHEMA, SQLITE_DBCONFIG_ENABLE_TRIGGER,
                              SQLITE_DBCONFIG_ENABLE_VIEW}) {
        sqlite3_db_config(database, setting, 0, nullptr);
    }
    sqlite3_db_config(database, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    return writer;
}

CSqliteWriter::~CSqliteWriter() {
    sqlite3_close_v2(m_database);  // undoes what was not committed
}

CSqliteStatement CSqliteWriter::Prepare(std::string_view sql) {
    sqlite3_stmt* statement = nullptr;
    const int result = sqlite3_prepare_v2(m_database, sql.data(), static_cast<int>(sql.size()),
                                          &statement, nullptr);
    return {statement, result};
}

SqliteFailure CSqliteWriter::Run(std::string_view sql) {
    CSqliteStatement statement = Prepare(sql);
    return statement.Run() ? SqliteFailure::None : statement.Failure();
}

std::string CSqliteWriter::LastError() const {
    return sqlite3_errmsg(m_database);
}

int CSqliteWriter::WaitForLock(void* writer, int) {
    constexpr DWORD kBetweenLooks = 5;  // milliseconds
    if (!static_cast<CSqliteWriter*>(writer)->m_mayWait()) {
        return 0;
    }
    ::Sleep(kBetweenLooks);
    return 1;
}

}  // namespace Terrascope::Plugins
