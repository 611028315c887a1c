#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "plugins/common/WatchedFile.h"
#include "plugins/common/kept/KeptMap.h"
#include "plugins/common/kept/TileFreshness.h"
#include "plugins/common/sqlite/Sqlite.h"
#include "plugins/common/sqlite/SqliteWriter.h"

namespace Terrascope::Plugins {

/// The tiles that are kept of one remote map: an MBTiles file with one table more, which has for
/// each tile what its server stated. What the file holds is hostile to the reader; the writer
/// changes no file whose tables are not exactly these.
/// Source: MBTiles 1.3.

struct KeptTile {
    std::vector<std::uint8_t> bytes;
    TileFreshness freshness;
    std::int64_t lastUse = 0;  ///< seconds since 1970; 0: not known
};

/// Seconds since 1970, UTC.
std::int64_t SecondsNow();

/// Whether a file is one of kept tiles, of any map and source, and may be changed. What a writer
/// that was killed left half done is undone.
bool HasKeptTiles(const std::wstring& path);

/// Whether a database is the file of that map's tiles.
bool IsFileOf(CSqliteWriter& database, const KeptMap& map);

/// A connection for reading a map's tiles. Threads: one at a time.
class CKeptReader {
public:
    /// Null when there is no file of that map in the folder, or it cannot be read now. What a
    /// writer that was killed left half done is undone.
    static std::unique_ptr<CKeptReader> Open(const std::wstring& folder, const KeptMap& map);

    /// Whether the file is still the one at its path.
    bool IsInPlace() { return m_file->IsInPlace(); }
    /// Nothing when it is not there, its grid is another by now, or it cannot be read; a lock of a
    /// writer is waited for for a quarter of a second.
    std::optional<KeptTile> Read(const KeptPlace& place);
    /// Of the last Read.
    bool HasFailed() const { return m_tile.HasFailed(); }

private:
    std::unique_ptr<CWatchedFile> m_file;
    std::unique_ptr<CSqliteConnection> m_connection;
    CSqliteStatement m_tile;
};

/// A change of a map's file: one transaction, which is undone unless it is committed.
/// Threads: one.
class CKeptWriter {
public:
    /// Begins a change of the map's file, which is made if it is not there. A damaged one is moved
    /// aside with a line in the log; the tiles of another grid go. Null, with the failure, when
    /// that is not possible.
    static std::unique_ptr<CKeptWriter> Open(const std::wstring& folder, const KeptMap& map,
                                             const CSqliteWriter::MayWait& mayWait,
                                             SqliteFailure& failure);

    const std::wstring& Path() const { return m_file->Path(); }
    bool IsNew() const { return m_isNew; }  ///< made by this change

    void Keep(const KeptPlace& place, std::span<const std::uint8_t> bytes,
              const TileFreshness& freshness);
    /// The same tile is fresh for longer.
    void Refresh(const KeptPlace& place, const TileFreshness& freshness);
    void Touch(const KeptPlace& place);  ///< it was used now
    void Drop(const KeptPlace& place);
    void DropAll();

    /// None when everything since Open is in the file; otherwise nothing of it.
    SqliteFailure Commit();

private:
    enum class Content { New, Ours, Others, Damaged };

    static std::unique_ptr<CKeptWriter> OpenAt(const std::wstring& path, const KeptMap& map,
                                               const CSqliteWriter::MayWait& mayWait,
                                               SqliteFailure& failure, Content& content);
    Content Look(const KeptMap& map);
    void Describe(const KeptMap& map);
    void DescribeAnew(const KeptMap& map);
    void PutMetadata(const char* name, const std::string& value);
    CSqliteStatement At(const KeptPlace& place, std::string_view sql);
    void Run(CSqliteStatement& statement);

    std::unique_ptr<CWatchedFile> m_file;
    std::unique_ptr<CSqliteWriter> m_database;
    SqliteFailure m_failure = SqliteFailure::None;  ///< the first one
    bool m_hasFormat = false;
    bool m_isNew = false;
};

}  // namespace Terrascope::Plugins
