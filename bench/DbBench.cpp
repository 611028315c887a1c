// Tiles out of archives: each reader against the bare loop over the same tiles (a prepared SELECT
// with the reader's own flags, ReadFile at known offsets), with one thread and with two; the first
// view of a map in an archive against one in files; and how long a database of a million tiles
// takes to open.
#include <afxwin.h>
#include <sqlite3.h>

#include <algorithm>
#include <array>
#include <functional>
#include <random>
#include <stdexcept>
#include <thread>

#include "bench/HostWindow.h"
#include "bench/Measure.h"
#include "bench/TileFiles.h"
#include "plugins/common/FileSource.h"
#include "plugins/common/PlainText.h"
#include "plugins/db/ArchiveLibrary.h"
#include "plugins/db/PmtilesArchive.h"
#include "plugins/db/SqliteArchive.h"
#include "tests/fixtures/LibraryFolder.h"
#include "tests/plugins/db/PmtilesWriter.h"

namespace {

using namespace Terrascope;
using namespace Terrascope::Bench;
using namespace Terrascope::Plugins;

constexpr int kZoom = 5;
constexpr int kSide = 1 << kZoom;
constexpr int kRuns = 11;
constexpr int kReads = 4096;
constexpr double kOpeningLimit = 100'000;  // microseconds

/// A tile of the archives, by the numbers of each.
struct Place {
    GridTile tile;
    std::uint64_t offset = 0;  ///< in the PMTiles file
    std::size_t length = 0;
};

void Check(bool isDone, const char* what) {
    if (!isDone) {
        throw std::runtime_error(what);
    }
}

/// A database for writing.
class Writer {
public:
    explicit Writer(const std::string& path) {
        Check(sqlite3_open(path.c_str(), &m_database) == SQLITE_OK, "a database was not made");
        Run("PRAGMA synchronous = OFF; BEGIN");
    }
    ~Writer() {
        sqlite3_exec(m_database, "COMMIT", nullptr, nullptr, nullptr);
        sqlite3_close(m_database);
    }
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    void Run(const std::string& sql) {
        Check(sqlite3_exec(m_database, sql.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK,
              sql.c_str());
    }
    void AddTile(const char* sql, int column, int row, const std::vector<std::uint8_t>& bytes) {
        sqlite3_stmt* insert = nullptr;
        sqlite3_prepare_v2(m_database, sql, -1, &insert, nullptr);
        sqlite3_bind_int(insert, 1, column);
        sqlite3_bind_int(insert, 2, row);
        sqlite3_bind_blob(insert, 3, bytes.data(), static_cast<int>(bytes.size()), SQLITE_STATIC);
        sqlite3_step(insert);
        Check(sqlite3_finalize(insert) == SQLITE_OK, sql);
    }

private:
    sqlite3* m_database = nullptr;
};

constexpr char kMbtilesTables[] =
    "CREATE TABLE metadata (name TEXT, value TEXT);"
    "CREATE TABLE tiles (zoom_level INTEGER, tile_column INTEGER, tile_row INTEGER, tile_data "
    "BLOB);"
    "CREATE UNIQUE INDEX tile_index ON tiles (zoom_level, tile_column, tile_row);";
constexpr char kGeoPackageTables[] =
    "CREATE TABLE gpkg_spatial_ref_sys (srs_id INTEGER, organization TEXT, "
    "organization_coordsys_id INTEGER);"
    "CREATE TABLE gpkg_contents (table_name TEXT, data_type TEXT, identifier TEXT, description "
    "TEXT, min_x REAL, min_y REAL, max_x REAL, max_y REAL);"
    "CREATE TABLE gpkg_tile_matrix_set (table_name TEXT, srs_id INTEGER, min_x REAL, min_y REAL, "
    "max_x REAL, max_y REAL);"
    "CREATE TABLE gpkg_tile_matrix (table_name TEXT, zoom_level INTEGER, matrix_width INTEGER, "
    "matrix_height INTEGER, tile_width INTEGER, tile_height INTEGER, pixel_x_size REAL, "
    "pixel_y_size REAL);"
    "CREATE TABLE geopackage (id INTEGER PRIMARY KEY, zoom_level INTEGER, tile_column INTEGER, "
    "tile_row INTEGER, tile_data BLOB, UNIQUE (zoom_level, tile_column, tile_row));"
    "INSERT INTO gpkg_tile_matrix_set VALUES ('geopackage', 4326, -180, -180, 180, 180);"
    "INSERT INTO gpkg_tile_matrix VALUES ('geopackage', 5, 32, 32, 256, 256, 0.0439453125, "
    "0.0439453125);";

/// The tiles of a map of files, in an archive of each kind; in a random order.
std::vector<Place> MakeArchives(const TileFiles& files,
                                const TerrascopeTest::TemporaryFolder& folder) {
    folder.MakeFolder("archives");
    Writer mbtiles(folder / "archives\\mbtiles.mbtiles");
    mbtiles.Run(kMbtilesTables);
    Writer geoPackage(folder / "archives\\geopackage.gpkg");
    geoPackage.Run(kGeoPackageTables);
    TerrascopeTest::PmtilesParts pmtiles;
    pmtiles.minZoom = kZoom;
    pmtiles.maxZoom = kZoom;
    pmtiles.typeCode = 3;
    pmtiles.metadata = "{\"name\":\"pmtiles\"}";
    std::vector<TerrascopeTest::PmtilesLine> lines;
    std::vector<Place> places;
    for (int column = 0; column < kSide; ++column) {
        for (int row = 0; row < kSide; ++row) {
            const auto bytes = ReadWholeFile(
                files.PathOf({static_cast<unsigned>(column), static_cast<unsigned>(row)}));
            mbtiles.AddTile("INSERT INTO tiles VALUES (5, ?1, 31 - ?2, ?3)", column, row, bytes);
            geoPackage.AddTile("INSERT INTO geopackage VALUES (NULL, 5, ?1, ?2, ?3)", column, row,
                               bytes);
            const GridTile tile{kZoom, column, row};
            places.push_back({tile, pmtiles.tiles.size(), bytes.size()});
            lines.push_back({PmtilesNumber(tile), pmtiles.tiles.size(), bytes.size(), 1});
            pmtiles.tiles.append(bytes.begin(), bytes.end());
        }
    }
    std::sort(lines.begin(), lines.end(),
              [](const auto& a, const auto& b) { return a.number < b.number; });
    // Half of it behind a leaf, as in an archive of many tiles.
    const auto middle = lines.begin() + kSide * kSide / 2;
    pmtiles.leaves = TerrascopeTest::PmtilesDirectoryBytes({middle, lines.end()});
    const TerrascopeTest::PmtilesLine leaf{middle->number, 0, pmtiles.leaves.size(), 0};
    lines.erase(middle, lines.end());
    lines.push_back(leaf);
    pmtiles.root = TerrascopeTest::PmtilesDirectoryBytes(lines);
    const std::string file = pmtiles.Bytes();
    folder.WriteFile("archives\\pmtiles.pmtiles", file);
    for (Place& place : places) {
        place.offset += file.size() - pmtiles.tiles.size();
    }
    std::shuffle(places.begin(), places.end(), std::mt19937(1));
    return places;
}

using ReadOne = std::function<bool(const Place&, std::vector<std::uint8_t>&)>;
/// Makes what one thread reads with.
using MakeReader = std::function<ReadOne()>;

/// Each of so many threads reads its share of the tiles.
void ReadAll(const MakeReader& make, const std::vector<Place>& places, int threads) {
    std::vector<std::thread> running;
    running.reserve(static_cast<std::size_t>(threads));
    for (int t = 0; t < threads; ++t) {
        running.emplace_back([&, t] {
            const ReadOne read = make();
            std::vector<std::uint8_t> bytes;
            for (int i = t; i < kReads; i += threads) {
                const Place& place = places[static_cast<std::size_t>(i) % places.size()];
                Check(read(place, bytes) && bytes.size() == place.length, "a tile was not read");
            }
        });
    }
    for (std::thread& thread : running) {
        thread.join();
    }
}

void CompareReaders(const char* name, const std::vector<Place>& places, const MakeReader& ours,
                    const MakeReader& raw) {
    for (const int threads : {1, 2}) {
        const std::string row =
            name + (threads == 1 ? std::string(", 1 thread") : std::string(", 2 threads"));
        // 0.9 of the bare loop's tiles per second.
        Compare(
            row.c_str(), 1 / 0.9, kRuns, kReads, [&] { ReadAll(ours, places, threads); },
            [&] { ReadAll(raw, places, threads); });
    }
}

MakeReader ReaderOf(ITileArchive& archive) {
    return [&archive]() -> ReadOne {
        return [&archive](const Place& place, std::vector<std::uint8_t>& bytes) {
            return archive.ReadTile(0, place.tile, bytes);
        };
    };
}

/// A connection of the thread's own, with the reader's own settings.
MakeReader BareSelect(const std::wstring& path, const std::string& table, bool fromBottom) {
    return [=]() -> ReadOne {
        std::string reason;
        std::shared_ptr<CSqliteConnection> connection = CSqliteConnection::Open(path, reason);
        Check(connection != nullptr, "a database was not opened");
        connection->AllowTime(60'000);
        auto query = std::make_shared<CSqliteStatement>(
            connection->Prepare("SELECT tile_data FROM " + table +
                                " WHERE zoom_level = ?1 AND tile_column = ?2 AND tile_row = ?3"));
        return
            [connection, query, fromBottom](const Place& place, std::vector<std::uint8_t>& bytes) {
                query->Bind(1, std::int64_t{kZoom}).Bind(2, place.tile.column);
                query->Bind(3, fromBottom ? kSide - 1 - place.tile.row : place.tile.row);
                const bool isThere = query->Next();
                const auto found = query->Bytes(0);
                bytes.assign(found.begin(), found.end());
                query->Rewind();
                return isThere;
            };
    };
}

MakeReader BareFile(const std::wstring& path) {
    return [=]() -> ReadOne {
        const std::shared_ptr<void> file(
            ::CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                          FILE_FLAG_RANDOM_ACCESS, nullptr),
            &::CloseHandle);
        return [file](const Place& place, std::vector<std::uint8_t>& bytes) {
            bytes.resize(place.length);
            OVERLAPPED at{};
            at.Offset = static_cast<DWORD>(place.offset);
            DWORD read = 0;
            return ::ReadFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &read,
                              &at) != 0;
        };
    };
}

void BenchReaders(const TerrascopeTest::TemporaryFolder& folder, const std::vector<Place>& places) {
    const auto wide = [&](const char* file) { return WideFromUtf8(folder / file); };
    std::string reason;
    for (const auto& [name, file, table] :
         {std::array{"MBTiles", "archives\\mbtiles.mbtiles", "tiles"},
          std::array{"GeoPackage", "archives\\geopackage.gpkg", "geopackage"}}) {
        const auto archive = CSqliteArchive::Open(wide(file), reason);
        Check(archive != nullptr, reason.c_str());
        CompareReaders(name, places, ReaderOf(*archive),
                       BareSelect(wide(file), table, std::string(table) == "tiles"));
    }
    const std::wstring path = wide("archives\\pmtiles.pmtiles");
    const auto archive = CPmtilesArchive::Open(CFileSource::Open(path), 0, reason);
    Check(archive != nullptr, reason.c_str());
    CompareReaders("PMTiles", places, ReaderOf(*archive), BareFile(path));
}

/// From the first call to the last pixel, in microseconds.
double Fill(HostWindow& window, const TileFiles& files, const char* map) {
    CPictureCache::ForgetAll();
    const Clock::time_point start = Clock::now();
    CTerrascope2& display = window.ShowNew();
    display.OpenMap(map);
    display.SetLayer(kZoom);
    const double time = Microseconds(window.RunUntilComplete(files) - start);
    window.Close();
    return time;
}

void BenchFilling(const TerrascopeTest::LibraryFolder& library, const TileFiles& files) {
    HostWindow window;
    const auto fill = [&](const char* provider, const std::string& archive, const char* map) {
        library.WriteSettings(
            "[TILE_MAP_INFO_PROVIDER_LOCAL_REMOTE]\r\nLOCAL=" + std::string(provider) +
            "\r\nREMOTE=None\r\n[SplittedFileTileMapInfoProvider]\r\nDATA_PATH=maps\r\n"
            "[DBTileMapInfoProvider]\r\nDATA_PATH=archives\\" +
            archive + "\r\n[TILE_LOAD]\r\nFAST=1\r\nTHREADS=4\r\nCACHE_MB=256\r\n");
        return Fill(window, files, map);
    };
    for (const auto& [map, archive] :
         {std::array{"mbtiles", "mbtiles.mbtiles"}, std::array{"geopackage", "geopackage.gpkg"},
          std::array{"pmtiles", "pmtiles.pmtiles"}}) {
        std::vector<double> ours;
        std::vector<double> raw;
        for (int run = 0; run < kRuns; ++run) {
            ours.push_back(fill("DBTileMapInfoProvider", archive, map));
            raw.push_back(fill("SplittedFileTileMapInfoProvider", archive, files.Name()));
        }
        PrintRow((std::string("FAST view from ") + map + ", against files").c_str(), Median(ours),
                 Median(raw), 1.2);
    }
}

void BenchOpening(const TerrascopeTest::TemporaryFolder& folder) {
    {
        Writer writer(folder / "million.mbtiles");
        writer.Run(std::string(kMbtilesTables) +
                   "WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i < "
                   "1048575) INSERT INTO tiles SELECT 10, i / 1024, i % 1024, zeroblob(200) FROM "
                   "n;");
    }
    for (const auto& [name, file] :
         {std::array{"opening 1,048,576 tiles without metadata, limit", "million.mbtiles"},
          std::array{"opening MBTiles, limit", "archives\\mbtiles.mbtiles"},
          std::array{"opening GeoPackage, limit", "archives\\geopackage.gpkg"},
          std::array{"opening PMTiles, limit", "archives\\pmtiles.pmtiles"}}) {
        const std::wstring path = WideFromUtf8(folder / file);
        std::vector<double> times;
        times.reserve(kRuns);
        for (int run = 0; run < kRuns; ++run) {
            times.push_back(MicrosecondsOf(
                [&] { Check(!CArchiveLibrary::Open(path)->Maps().empty(), "no map"); }));
        }
        PrintRow(name, Median(times), kOpeningLimit, 1.0);
    }
}

}  // namespace

// A bench that cannot make its files ends with the exception's text.
int main() {  // NOLINT(bugprone-exception-escape)
    const CGdiplusSession session;
    TerrascopeTest::LibraryFolder library;
    library.AddPlugin("SplittedFileTileMapInfoProvider.dll");
    library.AddPlugin("DBTileMapInfoProvider.dll");
    library.LoadPlugins();
    const TileFiles files(library.Folder(), "files", kJpeg256, kZoom, kSide, kSide);
    const std::vector<Place> places = MakeArchives(files, library.Folder());
    PrintHeader();
    BenchReaders(library.Folder(), places);
    BenchFilling(library, files);
    BenchOpening(library.Folder());
    return 0;
}
