#pragma once

#include <atomic>
#include <memory>
#include <optional>

#include "plugins/common/LeasePool.h"
#include "plugins/common/WatchedFile.h"
#include "plugins/common/sqlite/Sqlite.h"
#include "plugins/db/ITileArchive.h"

namespace Terrascope::Plugins {

/// The most bytes of descriptions that are kept of a database.
inline constexpr std::size_t kMostDescription = std::size_t{4} * 1024 * 1024;
inline constexpr char kTooMuchDescription[] = "its descriptions have more than 4 MiB";

/// What the reader of a format finds out about a database.
struct SqliteMaps {
    std::vector<ArchiveMap> maps;
    /// For each map the query of one tile: parameters zoom level, column, row, first column the
    /// bytes.
    std::vector<std::string> tileQueries;
    bool rowsFromBottom = false;
    /// For the log: what was left out, and why.
    std::vector<std::string> notes;
    /// What these answer makes the maps what they are: when it changes, it is another file.
    std::vector<std::string> descriptionQueries;
};

/// A database of tiles, MBTiles or GeoPackage. Each thread that reads has a connection and its
/// prepared queries to itself. Other programs may add tiles meanwhile: while one holds its lock, a
/// read waits a quarter of a second and is in vain then.
class CSqliteArchive : public ITileArchive {
public:
    /// Null, with the reason, when it is no archive of these kinds.
    static std::unique_ptr<ITileArchive> Open(const std::wstring& path, std::string& reason);

    const std::vector<ArchiveMap>& Maps() const override { return m_maps.maps; }
    bool ReadTile(std::size_t map, const GridTile& place, std::vector<std::uint8_t>& tile) override;

private:
    struct Session {
        std::unique_ptr<CSqliteConnection> connection;
        std::vector<CSqliteStatement> tiles;  ///< one for each map
        FileTime lastWrite = 0;               ///< of the file, before anything was read
    };

    explicit CSqliteArchive(std::unique_ptr<CWatchedFile> file) : m_file(std::move(file)) {}
    bool Describe(CSqliteConnection& connection, std::string& reason);
    void PrepareTiles(Session& session) const;
    std::unique_ptr<Session> TakeSession();
    std::unique_ptr<Session> MakeSession();

    const std::unique_ptr<CWatchedFile> m_file;
    SqliteMaps m_maps;          ///< constant after Open, as is:
    std::string m_description;  ///< the answers of the description queries
    std::atomic<bool> m_isAnother{false};
    CLeasePool<Session> m_sessions;
};

}  // namespace Terrascope::Plugins
