#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "plugins/common/sqlite/Sqlite.h"

namespace Terrascope::Plugins {

/// A connection that changes a database of this system's own. Triggers and views of the file do
/// nothing; its tables are the caller's to look at before he changes any.
///
/// Threads: one at a time.
class CSqliteWriter {
public:
    /// Whether a lock of another connection is to be waited for any longer; asked every few
    /// milliseconds.
    using MayWait = std::function<bool()>;

    /// Null when the file cannot be opened, or made, for writing.
    static std::unique_ptr<CSqliteWriter> Open(const std::wstring& path, MayWait mayWait);
    ~CSqliteWriter();
    CSqliteWriter(const CSqliteWriter&) = delete;
    CSqliteWriter& operator=(const CSqliteWriter&) = delete;

    CSqliteStatement Prepare(std::string_view sql);
    /// One statement without parameters.
    SqliteFailure Run(std::string_view sql);
    std::string LastError() const;

private:
    explicit CSqliteWriter(MayWait mayWait) : m_mayWait(std::move(mayWait)) {}
    static int WaitForLock(void* writer, int attempt);

    const MayWait m_mayWait;
    sqlite3* m_database = nullptr;  ///< closed by the destructor
};

}  // namespace Terrascope::Plugins
