#include "plugins/common/kept/KeptFile.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <utility>

#include "plugins/common/FolderFiles.h"
#include "plugins/common/MapRemark.h"
#include "plugins/common/PlainText.h"
#include "plugins/common/SafePath.h"
#include "plugins/common/TileGrid.h"
#include "plugins/common/TileImageHeader.h"
#include "plugins/common/kept/KeptRemoval.h"
#include "terrascope/support/text/MultibyteText.h"

namespace Terrascope::Plugins {
namespace {

constexpr std::uint64_t kTimeForTile = 1000;  // milliseconds
constexpr std::size_t kLongestField = 1024;   // bytes, of a header's value

/// In the order of their names, by which they are compared with what a file has.
constexpr std::array<const char*, 4> kTables{
    "CREATE TABLE kept_tiles (zoom_level INTEGER, tile_column INTEGER, tile_row INTEGER, "
    "entity_tag TEXT, last_modified TEXT, fetched INTEGER, expires INTEGER, last_use INTEGER, "
    "PRIMARY KEY (zoom_level, tile_column, tile_row)) WITHOUT ROWID",
    "CREATE TABLE metadata (name text, value text)",
    "CREATE UNIQUE INDEX tile_index ON tiles (zoom_level, tile_column, tile_row)",
    "CREATE TABLE tiles (zoom_level integer, tile_column integer, tile_row integer, "
    "tile_data blob)"};
/// The order in which they are made: an index after its table.
constexpr std::array<std::size_t, 4> kOrder{0, 1, 3, 2};

/// Rows of the metadata that are this system's own.
constexpr char kSourceRow[] = "kept_source";
constexpr char kGridRow[] = "kept_grid";
constexpr char kOwnGridNote[] =
    "Columns and rows count from the map's own corner, not as in Web Mercator.";

constexpr char kTileQuery[] =
    "SELECT t.tile_data, k.entity_tag, k.last_modified, k.fetched, k.expires, k.last_use "
    "FROM tiles t LEFT JOIN kept_tiles k ON k.zoom_level = t.zoom_level AND "
    "k.tile_column = t.tile_column AND k.tile_row = t.tile_row "
    "WHERE t.zoom_level = ?1 AND t.tile_column = ?2 AND t.tile_row = ?3 AND "
    "EXISTS (SELECT 1 FROM metadata WHERE name = 'kept_grid' AND value = ?4)";
constexpr char kAtPlace[] = " WHERE zoom_level = ?1 AND tile_column = ?2 AND tile_row = ?3";

std::string Utf8(const CString& text) {
    return Utf8FromWide(ToWide(ViewOf(text)).value_or(L""));
}

/// What may be sent to a server again; empty when it is anything else.
std::string FieldOf(std::string_view text) {
    const bool isField =
        text.size() <= kLongestField &&
        std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c < 0x7F; });
    return isField ? std::string(text) : std::string();
}

/// Empty when there is no such row; `failure` (may be null) has whether it could be looked for.
template <class TDatabase>
std::string MetadataOf(TDatabase& database, const char* name, SqliteFailure* failure = nullptr) {
    CSqliteStatement row = database.Prepare("SELECT value FROM metadata WHERE name = ?1");
    row.Bind(1, std::string_view(name));
    std::string value = row.Next() ? std::string(row.ShortText(0)) : std::string();
    if (failure != nullptr) {
        *failure = row.Failure();
    }
    return value;
}

enum class Tables { None, Ours, Others };

/// Requires a database whose schema can be read: `failure` has whether it could.
template <class TDatabase>
Tables TablesOf(TDatabase& database, SqliteFailure& failure) {
    CSqliteStatement rows = database.Prepare("SELECT sql FROM sqlite_schema ORDER BY name, type");
    std::size_t count = 0;
    bool isOther = false;
    while (rows.Next()) {
        isOther = isOther || count >= kTables.size() || rows.Text(0) != kTables[count];
        ++count;
    }
    failure = rows.Failure();
    if (count == 0) {
        return Tables::None;
    }
    return isOther || count != kTables.size() ? Tables::Others : Tables::Ours;
}

/// Has the journal that a killed writer left played back, unless it is a living one's.
void Recover(const std::wstring& path) {
    const auto writer = CSqliteWriter::Open(path, [] { return false; });
    if (writer != nullptr) {
        writer->Run("SELECT 1 FROM sqlite_schema");
    }
}

std::string BoundsOf(const tagTILE_MAP_INFO& info) {
    return TextOfReal(info.dLongitudeStart) + ',' +
           TextOfReal(MercatorLatitude(info.dLatitudeStart)) + ',' +
           TextOfReal(info.dLongitudeStart + info.dLongitude) + ',' +
           TextOfReal(MercatorLatitude(info.dLatitudeStart + info.dLatitude));
}

/// The rows of the metadata that describe a map; those with an empty value are left out.
std::vector<std::pair<const char*, std::string>> MetadataFor(const KeptMap& map) {
    const MapRemarkParts remark = PartsOf(map.info.strRemark);
    std::string description = Utf8(remark.description);
    if (!map.IsOnWorldGrid()) {
        description += (description.empty() ? "" : " ") + std::string(kOwnGridNote);
    }
    return {{"bounds", map.IsOnWorldGrid() ? BoundsOf(map.info) : std::string()},
            {"name", Utf8(map.info.strName)},
            {"type", "baselayer"},
            {"description", description},
            {"attribution", Utf8(remark.attribution)},
            {"minzoom", std::to_string(map.layers.front().nLayerNumber)},
            {"maxzoom", std::to_string(map.layers.back().nLayerNumber)},
            {kSourceRow, map.Key()},
            {kGridRow, map.GridText()}};
}

}  // namespace

std::int64_t SecondsNow() {
    return static_cast<std::int64_t>(::time(nullptr));
}

bool HasKeptTiles(const std::wstring& path) {
    constexpr int kAttempts = 2;  // the second one after a killed writer's journal is gone
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        {
            std::string ignored;
            const auto database = CSqliteConnection::Open(path, ignored);
            if (database == nullptr) {
                return false;
            }
            database->AllowTime(kTimeForTile);
            SqliteFailure failure = SqliteFailure::None;
            const Tables tables = TablesOf(*database, failure);
            if (failure != SqliteFailure::Unfinished) {
                return tables == Tables::Ours && failure == SqliteFailure::None;
            }
        }
        Recover(path);
    }
    return false;
}

bool IsFileOf(CSqliteWriter& database, const KeptMap& map) {
    SqliteFailure failure = SqliteFailure::None;
    return TablesOf(database, failure) == Tables::Ours && failure == SqliteFailure::None &&
           MetadataOf(database, kSourceRow) == map.Key();
}

std::unique_ptr<CKeptReader> CKeptReader::Open(const std::wstring& folder, const KeptMap& map) {
    for (const std::wstring& name : {map.OwnFileName(), map.FileName()}) {
        const std::wstring path = std::wstring(folder).append(L"\\").append(name);
        if (!LookAtFile(path)) {
            continue;
        }
        constexpr int kAttempts = 2;  // the second one after a killed writer's journal is gone
        for (int attempt = 0; attempt < kAttempts; ++attempt) {
            auto reader = std::make_unique<CKeptReader>();
            std::string ignored;
            reader->m_file = CWatchedFile::Open(path);
            reader->m_connection = CSqliteConnection::Open(path, ignored);
            if (reader->m_file == nullptr || reader->m_connection == nullptr) {
                break;
            }
            reader->m_connection->AllowTime(kTimeForTile);
            reader->m_tile = reader->m_connection->Prepare(kTileQuery);
            if (reader->m_tile.IsValid() &&
                MetadataOf(*reader->m_connection, kSourceRow) == map.Key()) {
                reader->m_tile.Bind(4, std::string_view(map.GridText()));
                return reader;
            }
            if (reader->m_tile.Failure() != SqliteFailure::Unfinished) {
                break;
            }
            reader.reset();
            Recover(path);
        }
    }
    return nullptr;
}

std::optional<KeptTile> CKeptReader::Read(const KeptPlace& place) {
    m_connection->AllowTime(kTimeForTile);
    std::optional<KeptTile> tile;
    m_tile.Bind(1, std::int64_t{place.zoom}).Bind(2, place.column).Bind(3, place.row);
    if (m_tile.Next()) {
        const std::span<const std::uint8_t> bytes = m_tile.Bytes(0);
        if (!bytes.empty()) {
            tile.emplace();
            tile->bytes.assign(bytes.begin(), bytes.end());
            tile->freshness.entityTag = FieldOf(m_tile.Text(1));
            tile->freshness.lastModified = FieldOf(m_tile.Text(2));
            tile->freshness.fetched = m_tile.Whole(3);
            tile->freshness.expires = m_tile.Whole(4);
            tile->lastUse = m_tile.Whole(5);
        }
    }
    m_tile.Rewind();
    return tile;
}

std::unique_ptr<CKeptWriter> CKeptWriter::Open(const std::wstring& folder, const KeptMap& map,
                                               const CSqliteWriter::MayWait& mayWait,
                                               SqliteFailure& failure) {
    const std::wstring own = std::wstring(folder).append(L"\\").append(map.OwnFileName());
    std::wstring path =
        LookAtFile(own) ? own : std::wstring(folder).append(L"\\").append(map.FileName());
    constexpr int kAttempts = 4;  // files of others and damaged ones come first
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        Content content = Content::New;
        auto writer = OpenAt(path, map, mayWait, failure, content);
        if (writer != nullptr) {
            return writer;
        }
        if (content == Content::Others && path != own) {
            path = own;
        } else if (content != Content::Damaged &&
                   (failure != SqliteFailure::None || content == Content::Others)) {
            break;
        }
    }
    failure = failure == SqliteFailure::None ? SqliteFailure::Other : failure;
    return nullptr;
}

std::unique_ptr<CKeptWriter> CKeptWriter::OpenAt(const std::wstring& path, const KeptMap& map,
                                                 const CSqliteWriter::MayWait& mayWait,
                                                 SqliteFailure& failure, Content& content) {
    // The file itself before the connection to it: what is written must not go to a file that has
    // been moved away meanwhile, whose journal would lie beside another one.
    CFileHandle file(::CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE,
                                   FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                   OPEN_ALWAYS, 0, nullptr));
    file.Reset();
    auto writer = std::make_unique<CKeptWriter>();
    writer->m_file = CWatchedFile::Open(path);
    writer->m_database = CSqliteWriter::Open(path, mayWait);
    failure = SqliteFailure::Other;
    if (writer->m_file == nullptr || writer->m_database == nullptr) {
        return nullptr;
    }
    // It is written each time, so it is set only where it counts.
    const char* const vacuum =
        writer->m_file->Size() == 0 ? "PRAGMA auto_vacuum = FULL" : "PRAGMA auto_vacuum";
    for (const char* setting : {vacuum, "PRAGMA cache_spill = OFF", "BEGIN IMMEDIATE"}) {
        failure = writer->m_database->Run(setting);
        if (failure != SqliteFailure::None) {
            if (failure == SqliteFailure::Damaged) {
                content = Content::Damaged;
                MoveAside(*writer->m_file, *writer->m_database);
            }
            return nullptr;
        }
    }
    if (!writer->m_file->IsInPlaceNow()) {
        return nullptr;  // the next attempt has the one that is
    }
    content = writer->Look(map);
    if (content == Content::Damaged) {
        MoveAside(*writer->m_file, *writer->m_database);
        return nullptr;
    }
    writer->m_isNew = content == Content::New;
    if (content == Content::New) {
        for (const std::size_t table : kOrder) {
            CSqliteStatement create = writer->m_database->Prepare(kTables[table]);
            writer->Run(create);
        }
        writer->Describe(map);
    } else if (content != Content::Ours) {
        return nullptr;
    } else {
        writer->DescribeAnew(map);
    }
    writer->m_hasFormat = !MetadataOf(*writer->m_database, "format").empty();
    return writer;
}

CKeptWriter::Content CKeptWriter::Look(const KeptMap& map) {
    SqliteFailure failure = SqliteFailure::None;
    const Tables tables = TablesOf(*m_database, failure);
    if (failure != SqliteFailure::None) {
        return failure == SqliteFailure::Damaged ? Content::Damaged : Content::Others;
    }
    if (tables == Tables::None) {
        return Content::New;
    }
    if (MetadataOf(*m_database, kSourceRow, &failure) != map.Key()) {
        return failure == SqliteFailure::Damaged ? Content::Damaged : Content::Others;
    }
    return tables == Tables::Ours ? Content::Ours : Content::Damaged;
}

void CKeptWriter::Describe(const KeptMap& map) {
    CSqliteStatement clear = m_database->Prepare("DELETE FROM metadata WHERE name <> 'format'");
    Run(clear);
    CSqliteStatement mark = m_database->Prepare("PRAGMA application_id = 0x4d504258");
    Run(mark);
    for (const auto& [name, value] : MetadataFor(map)) {
        PutMetadata(name, value);
    }
}

void CKeptWriter::DescribeAnew(const KeptMap& map) {
    if (MetadataOf(*m_database, kGridRow) != map.GridText()) {
        DropAll();
        CSqliteStatement clear = m_database->Prepare("DELETE FROM metadata");
        Run(clear);
    }
    const auto metadata = MetadataFor(map);
    if (std::any_of(metadata.begin(), metadata.end(), [this](const auto& row) {
            return MetadataOf(*m_database, row.first) != row.second;
        })) {
        Describe(map);
    }
}

void CKeptWriter::PutMetadata(const char* name, const std::string& value) {
    if (!value.empty()) {
        CSqliteStatement row = m_database->Prepare("INSERT INTO metadata VALUES (?1, ?2)");
        row.Bind(1, std::string_view(name)).Bind(2, std::string_view(value));
        Run(row);
    }
}

CSqliteStatement CKeptWriter::At(const KeptPlace& place, std::string_view sql) {
    CSqliteStatement statement = m_database->Prepare(sql);
    statement.Bind(1, std::int64_t{place.zoom}).Bind(2, place.column).Bind(3, place.row);
    return statement;
}

void CKeptWriter::Run(CSqliteStatement& statement) {
    if (m_failure == SqliteFailure::None && !statement.Run()) {
        m_failure = statement.Failure();
    }
}

void CKeptWriter::Keep(const KeptPlace& place, std::span<const std::uint8_t> bytes,
                       const TileFreshness& freshness) {
    if (!m_hasFormat) {
        PutMetadata("format", std::string(ReadTileImageHeader(bytes).format));
        m_hasFormat = true;
    }
    CSqliteStatement tile = At(place, "INSERT OR REPLACE INTO tiles VALUES (?1, ?2, ?3, ?4)");
    tile.Bind(4, bytes);
    Run(tile);
    CSqliteStatement kept = At(
        place, "INSERT OR REPLACE INTO kept_tiles VALUES (?1, ?2, ?3, NULL, NULL, NULL, 0, NULL)");
    Run(kept);
    Refresh(place, freshness);
}

void CKeptWriter::Refresh(const KeptPlace& place, const TileFreshness& freshness) {
    CSqliteStatement kept =
        At(place, std::string("UPDATE kept_tiles SET entity_tag = ?4, last_modified = ?5, "
                              "fetched = ?6, expires = ?7, last_use = ?8")
                      .append(kAtPlace));
    kept.Bind(4, std::string_view(freshness.entityTag))
        .Bind(5, std::string_view(freshness.lastModified))
        .Bind(6, freshness.fetched)
        .Bind(7, freshness.expires)
        .Bind(8, SecondsNow());
    Run(kept);
}

void CKeptWriter::Touch(const KeptPlace& place) {
    CSqliteStatement kept =
        At(place, std::string("UPDATE kept_tiles SET last_use = ?4").append(kAtPlace));
    kept.Bind(4, SecondsNow());
    Run(kept);
}

void CKeptWriter::Drop(const KeptPlace& place) {
    for (const char* table : {"DELETE FROM tiles", "DELETE FROM kept_tiles"}) {
        CSqliteStatement drop = At(place, std::string(table).append(kAtPlace));
        Run(drop);
    }
}

void CKeptWriter::DropAll() {
    for (const char* table : {"DELETE FROM tiles", "DELETE FROM kept_tiles"}) {
        CSqliteStatement drop = m_database->Prepare(table);
        Run(drop);
    }
}

SqliteFailure CKeptWriter::Commit() {
    CSqliteStatement commit = m_database->Prepare("COMMIT");
    Run(commit);
    if (m_failure == SqliteFailure::Damaged) {
        MoveAside(*m_file, *m_database);
    }
    return m_failure;
}

}  // namespace Terrascope::Plugins
