// One view of 1920 x 1080 pixels from JPEG files, for tools/peers.sh: peer_view FOLDER RUNS. Copies
// the files that the view shows to FOLDER\5\column\row.jpg and prints the median time from making
// the display to the last tile in the window, in microseconds, and the view's corner in pixels.
#include <afxwin.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/HostWindow.h"
#include "bench/Measure.h"
#include "bench/TileFiles.h"
#include "tests/fixtures/LibraryFolder.h"

namespace {

using namespace Terrascope;
using namespace Terrascope::Bench;

constexpr unsigned kFirst =
    10;  // column and row of the copies: some place that is no edge of the world

/// Every tile of the block that holds the visible ones; returns the view's corner among the copies.
CPoint CopyTiles(const TileFiles& files, const std::vector<VisibleTile>& tiles,
                 const std::string& folder) {
    const VisibleTile& first = tiles.front();
    ::CreateDirectoryA(folder.c_str(), nullptr);
    ::CreateDirectoryA((folder + "\\5").c_str(), nullptr);
    for (const VisibleTile& tile : tiles) {
        const auto place = [](unsigned index, unsigned from) {
            return std::to_string(kFirst + index - from);
        };
        const std::string column = folder + "\\5\\" + place(tile.tile.column, first.tile.column);
        ::CreateDirectoryA(column.c_str(), nullptr);
        const std::string copy = column + "\\" + place(tile.tile.row, first.tile.row) + ".jpg";
        if (!::CopyFileA(files.PathOf(tile.tile).c_str(), copy.c_str(), FALSE)) {
            throw std::runtime_error("cannot write " + copy);
        }
    }
    const int place = static_cast<int>(kFirst) * files.TileSize();
    return {place - first.corner.x, place - first.corner.y};
}

}  // namespace

// A program that cannot make its files ends with the exception's text.
int main(int count, char** arguments) {  // NOLINT(bugprone-exception-escape)
    if (count != 3) {
        return 2;
    }
    const CGdiplusSession session;
    const TerrascopeTest::LibraryFolder library;
    library.AddPlugin("SplittedFileTileMapInfoProvider.dll");
    library.AddDecoder("TerrascopeCodecs.dll");
    library.LoadPlugins();
    library.WriteSettings(
        "[SplittedFileTileMapInfoProvider]\r\nDATA_PATH=maps\r\n"
        "[TILE_LOAD]\r\nFAST=1\r\nTHREADS=2\r\nCODECS=1\r\n");
    const TileFiles files(library.Folder(), "jpeg256", kJpeg256, 5, 32, 8);
    HostWindow window;
    window.RunFor(500);  // on a real screen it is painted when it appears
    window.Fill(files);
    const CPoint corner = CopyTiles(files, VisibleTilesOf(window.Shown().View()), arguments[1]);
    std::vector<double> times(static_cast<std::size_t>(std::max(1, std::atoi(arguments[2]))));
    for (double& time : times) {
        window.Close();
        window.RunFor(50);
        time = window.Fill(files);
    }
    std::printf("%.0f %ld %ld\n", Median(times), corner.x, corner.y);
    return 0;
}
