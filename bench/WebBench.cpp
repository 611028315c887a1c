// Tiles from a web server on this machine, for ./bench.sh web: web_bench FOLDER ADDRESS, where the
// server delivers what is in the folder. The provider's tiles with several threads against a bare
// WinHTTP loop over as many kept connections, tiles that a local provider keeps of it against those
// of an archive, and a view from the server, kept and not, against one from files.
#include <afxwin.h>
#include <sqlite3.h>
// These want it before them.
#include <winhttp.h>

#include <cstdio>
#include <functional>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "bench/HostWindow.h"
#include "bench/Measure.h"
#include "bench/TileFiles.h"
#include "plugins/common/PlainText.h"
#include "plugins/db/DBTileMapInfoProvider.h"
#include "plugins/web/HttpAddress.h"
#include "plugins/web/WebTileMapInfoProvider.h"
#include "tests/fixtures/LibraryFolder.h"

namespace {

using namespace Terrascope;
using namespace Terrascope::Bench;
using namespace Terrascope::Plugins;

constexpr int kZoom = 5;
constexpr unsigned kSide = 1U << kZoom;
constexpr int kRuns = 11;

/// A tile as the server and as the provider name it.
struct Tile {
    std::string path;
    CString key;
    std::size_t size = 0;
};

void Check(bool isDone, const char* what) {
    if (!isDone) {
        throw std::runtime_error(what);
    }
}

/// The tiles of a map of files, in a folder by zoom level, column and row; in a random order.
std::vector<Tile> CopyTiles(const TileFiles& files, const std::string& folder) {
    std::vector<Tile> tiles;
    const std::string zoom = folder + "\\5\\";
    ::CreateDirectoryA(zoom.c_str(), nullptr);
    for (unsigned column = 0; column < kSide; ++column) {
        const std::string columnFolder = zoom + std::to_string(column);
        ::CreateDirectoryA(columnFolder.c_str(), nullptr);
        for (unsigned row = 0; row < kSide; ++row) {
            std::string copy = columnFolder;
            copy += "\\" + std::to_string(row) + ".jpg";
            const std::string from = files.PathOf({column, row});
            Check(::CopyFileA(from.c_str(), copy.c_str(), FALSE), "a tile was not copied");
            tiles.push_back({"/5/" + std::to_string(column) + "/" + std::to_string(row) + ".jpg",
                             MakeTileKey(column, row, kZoom), ReadWholeFile(from).size()});
        }
    }
    std::shuffle(tiles.begin(), tiles.end(), std::mt19937(1));
    return tiles;
}

/// The size of a tile's bytes.
using ReadOne = std::function<std::size_t(const Tile&)>;
/// Makes what one thread reads with.
using MakeReader = std::function<ReadOne()>;

/// Each of so many threads reads its share of the tiles.
void ReadAll(const MakeReader& make, const std::vector<Tile>& tiles, std::size_t threads) {
    std::vector<std::thread> running;
    running.reserve(threads);
    for (std::size_t t = 0; t < threads; ++t) {
        running.emplace_back([&, t] {
            const ReadOne read = make();
            for (std::size_t i = t; i < tiles.size(); i += threads) {
                Check(read(tiles[i]) == tiles[i].size, "a tile was not read");
            }
        });
    }
    for (std::thread& thread : running) {
        thread.join();
    }
}

MakeReader Provider(ITileMapInfoProvider& provider) {
    return [&provider]() -> ReadOne {
        return [&provider](const Tile& tile) -> std::size_t {
            std::size_t size = 0;
            for (const tagTILE_IMAGE* image : provider.LoadTiles("web", kZoom, {tile.key})) {
                const std::unique_ptr<const tagTILE_IMAGE> owned(image);
                size += static_cast<std::size_t>(image->stream.GetLength());
            }
            return size;
        };
    };
}

using Handle = std::unique_ptr<void, decltype(&::WinHttpCloseHandle)>;

Handle Owned(HINTERNET handle) {
    Check(handle != nullptr, "WinHTTP made no handle");
    return {handle, &::WinHttpCloseHandle};
}

/// One connection for each thread, which the server keeps open; the body is read and dropped.
MakeReader BareLoop(HINTERNET session, const HttpAddress& server) {
    return [=]() -> ReadOne {
        const auto connection = std::make_shared<Handle>(
            Owned(::WinHttpConnect(session, WideFromUtf8(server.host).c_str(), server.port, 0)));
        const auto body = std::make_shared<std::vector<char>>();
        return [=](const Tile& tile) -> std::size_t {
            const Handle request = Owned(
                ::WinHttpOpenRequest(connection->get(), L"GET", WideFromUtf8(tile.path).c_str(),
                                     nullptr, WINHTTP_NO_REFERER, WINHTTP_DEFAULT_ACCEPT_TYPES, 0));
            Check(::WinHttpSendRequest(request.get(), WINHTTP_NO_ADDITIONAL_HEADERS, 0,
                                       WINHTTP_NO_REQUEST_DATA, 0, 0, 0) &&
                      ::WinHttpReceiveResponse(request.get(), nullptr),
                  "WinHTTP got no answer");
            DWORD length = 0;
            DWORD bytes = sizeof(length);
            Check(::WinHttpQueryHeaders(
                      request.get(), WINHTTP_QUERY_CONTENT_LENGTH | WINHTTP_QUERY_FLAG_NUMBER,
                      WINHTTP_HEADER_NAME_BY_INDEX, &length, &bytes, WINHTTP_NO_HEADER_INDEX),
                  "an answer has no length");
            body->resize(length);
            std::size_t size = 0;
            DWORD read = 1;
            while (size < length && read > 0) {
                Check(::WinHttpReadData(request.get(), body->data() + size,
                                        static_cast<DWORD>(length - size), &read),
                      "WinHTTP read nothing");
                size += read;
            }
            return size;
        };
    };
}

void BenchTiles(const std::vector<Tile>& tiles, const std::string& dataPath,
                const std::string& server) {
    CWebTileMapInfoProvider provider;
    provider.SetDataPath(dataPath.c_str());
    const Handle session = Owned(::WinHttpOpen(L"bench", WINHTTP_ACCESS_TYPE_NO_PROXY,
                                               WINHTTP_NO_PROXY_NAME, WINHTTP_NO_PROXY_BYPASS, 0));
    const auto address = HttpAddress::Parse(server);
    Check(address.has_value(), "the server's address is none");
    const MakeReader ours = Provider(provider);
    const MakeReader raw = BareLoop(session.get(), *address);
    for (const std::size_t threads : {2U, 4U, 8U}) {
        // 0.9 of the bare loop's tiles per second.
        Compare(("tiles of a server, " + std::to_string(threads) + " threads").c_str(), 1 / 0.9,
                kRuns, static_cast<int>(tiles.size()), [&] { ReadAll(ours, tiles, threads); },
                [&] { ReadAll(raw, tiles, threads); });
    }
}

/// How many tiles the first archive of a folder has; 0 when there is none.
int CountTiles(const std::string& folder, std::string& archive) {
    WIN32_FIND_DATAA found{};
    const HANDLE search = ::FindFirstFileA((folder + "\\*.mbtiles").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) {
        return 0;
    }
    ::FindClose(search);
    archive = folder + "\\" + found.cFileName;
    int count = 0;
    sqlite3* database = nullptr;
    sqlite3_stmt* query = nullptr;
    if (sqlite3_open_v2(archive.c_str(), &database, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK &&
        sqlite3_prepare_v2(database, "SELECT count(*) FROM tiles", -1, &query, nullptr) ==
            SQLITE_OK &&
        sqlite3_step(query) == SQLITE_ROW) {
        count = sqlite3_column_int(query, 0);
    }
    sqlite3_finalize(query);
    sqlite3_close(database);
    return count;
}

/// Each tile once, by a provider that keeps them in a folder; the copy of that archive.
std::string KeepAll(ITileMapInfoProvider& keeping, const std::vector<Tile>& tiles,
                    const TerrascopeTest::TemporaryFolder& folder) {
    std::string archive;
    const ULONGLONG end = ::GetTickCount64() + 60000;
    // What is too much to be written at once is passed over, and asked for again.
    while (CountTiles(folder / "local\\kept", archive) < static_cast<int>(tiles.size())) {
        Check(::GetTickCount64() < end, "the tiles are not kept");
        ReadAll(Provider(keeping), tiles, 2);
        ::Sleep(1000);
    }
    folder.MakeFolder("archive");
    std::string copy = folder / "archive\\web.mbtiles";
    Check(::CopyFileA(archive.c_str(), copy.c_str(), FALSE), "the archive was not copied");
    return copy;
}

void BenchKept(const std::vector<Tile>& tiles, const std::string& dataPath,
               const TerrascopeTest::TemporaryFolder& folder) {
    folder.MakeFolder("local");
    CDBTileMapInfoProvider keeping;
    keeping.SetDataPath((folder / "local").c_str());
    auto server = std::make_unique<CWebTileMapInfoProvider>();
    server->SetDataPath(dataPath.c_str());
    keeping.m_pRemoteProvider = server.release();
    CDBTileMapInfoProvider reading;
    reading.SetDataPath(KeepAll(keeping, tiles, folder).c_str());
    for (const std::size_t threads : {1U, 2U}) {
        // 0.9 of the archive's tiles per second.
        Compare(("kept tiles, against an archive, " + std::to_string(threads) + " threads").c_str(),
                1 / 0.9, kRuns, static_cast<int>(tiles.size()),
                [&] { ReadAll(Provider(keeping), tiles, threads); },
                [&] { ReadAll(Provider(reading), tiles, threads); });
    }
}

void BenchFilling(const TerrascopeTest::LibraryFolder& library, const TileFiles& files,
                  const std::string& dataPath) {
    HostWindow window;
    const auto fill = [&](const char* local, const char* remote, const char* map) {
        library.WriteSettings(
            "[TILE_MAP_INFO_PROVIDER_LOCAL_REMOTE]\r\nLOCAL=" + std::string(local) +
            "\r\nREMOTE=" + remote +
            "\r\n[SplittedFileTileMapInfoProvider]\r\nDATA_PATH=maps\r\n"
            "[DBTileMapInfoProvider]\r\nDATA_PATH=local\r\n"
            "[WebTileMapInfoProvider]\r\nDATA_PATH=" +
            dataPath + "\r\n[TILE_LOAD]\r\nFAST=1\r\nTHREADS=4\r\nCACHE_MB=256\r\n");
        CPictureCache::ForgetAll();
        const Bench::Clock::time_point start = Bench::Clock::now();
        CTerrascope2& display = window.ShowNew();
        display.OpenMap(map);
        display.SetLayer(kZoom);
        const double time = Microseconds(window.RunUntilComplete(files) - start);
        window.Close();
        return time;
    };
    std::vector<double> web;
    std::vector<double> kept;
    std::vector<double> raw;
    for (int run = 0; run < kRuns; ++run) {
        web.push_back(fill("WebTileMapInfoProvider", "None", "web"));
        kept.push_back(fill("DBTileMapInfoProvider", "WebTileMapInfoProvider", "web"));
        raw.push_back(fill("SplittedFileTileMapInfoProvider", "None", files.Name()));
    }
    PrintRow("FAST view from a server, against files", Median(web), Median(raw), 2.0);
    PrintRow("FAST view from kept tiles, against files", Median(kept), Median(raw), 1.2);
}

}  // namespace

// A bench that cannot make its files ends with the exception's text.
int main(int count, char** arguments) {  // NOLINT(bugprone-exception-escape)
    if (count != 3) {
        return 2;
    }
    const std::string server = arguments[2];
    const CGdiplusSession session;
    TerrascopeTest::LibraryFolder library;
    library.AddPlugin("SplittedFileTileMapInfoProvider.dll");
    library.AddPlugin("DBTileMapInfoProvider.dll");
    library.AddPlugin("WebTileMapInfoProvider.dll");
    library.LoadPlugins();
    const TileFiles files(library.Folder(), "files", kJpeg256, kZoom, kSide, kSide);
    const std::vector<Tile> tiles = CopyTiles(files, arguments[1]);
    const std::string dataPath = server + "/{z}/{x}/{y}.jpg#name=web&minzoom=5&maxzoom=5";
    PrintHeader();
    BenchTiles(tiles, dataPath, server);
    BenchKept(tiles, dataPath, library.Folder());
    BenchFilling(library, files, dataPath);
    return 0;
}
