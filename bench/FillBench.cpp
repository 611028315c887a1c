// From the first call of a host to the last pixel in its window: without the pace, from files and
// from the cache, against two threads that only read, decode and copy; and with the pace.
#include <afxwin.h>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "bench/HostWindow.h"
#include "bench/Measure.h"
#include "bench/TileFiles.h"
#include "terrascope/display/DibSection.h"
#include "tests/fixtures/LibraryFolder.h"

namespace {

using namespace Terrascope;
using namespace Terrascope::Bench;

constexpr int kRuns = 11;

/// Copies a row of a tile into the view's pixels.
void CopyRow(const CDibSection& view, CPoint corner, int y, const std::uint32_t* row, int width) {
    CRect part;
    if (part.IntersectRect(CRect(corner.x, corner.y + y, corner.x + width, corner.y + y + 1),
                           CRect(0, 0, view.Width(), view.Height()))) {
        std::memcpy(view.Row(part.top) + part.left, row + (part.left - corner.x),
                    static_cast<std::size_t>(part.Width()) * sizeof(std::uint32_t));
    }
}

/// Two threads take the tiles in turn; then the view goes to the window.
void FillRaw(const TileFiles& files, const std::vector<VisibleTile>& tiles, HDC window) {
    const auto view = CDibSection::Create(kFullHd.cx, kFullHd.cy);
    std::atomic<std::size_t> next{0};
    const auto work = [&] {
        for (std::size_t i = next++; i < tiles.size(); i = next++) {
            const auto file = ReadWholeFile(files.PathOf(tiles[i].tile));
            DecodeWithGdiplus(file, [&](int y, const std::uint32_t* row, int width) {
                CopyRow(*view, tiles[i].corner, y, row, width);
            });
        }
    };
    std::thread first(work);
    std::thread second(work);
    first.join();
    second.join();
    ::BitBlt(window, 0, 0, kFullHd.cx, kFullHd.cy, view->Dc(), 0, 0, SRCCOPY);
    ::GdiFlush();
}

void BenchFastFilling(HostWindow& window, const TileFiles& files, const char* name) {
    std::vector<VisibleTile> tiles;
    const auto raw = [&] { FillRaw(files, tiles, window.Dc()); };
    window.Fill(files);
    tiles = VisibleTilesOf(window.Shown().View());
    window.Close();
    std::vector<double> oursTimes;
    std::vector<double> rawTimes;
    for (int run = 0; run < kRuns; ++run) {
        oursTimes.push_back(window.Fill(files));
        window.Close();  // with what is still being fetched beyond the view
        CPictureCache::ForgetAll();
        rawTimes.push_back(MicrosecondsOf(raw));
    }
    const std::string row = name + (", " + std::to_string(tiles.size())) + " tiles of " +
                            std::to_string(static_cast<int>(files.MeanSize() / 1024)) + " KB";
    PrintRow(row.c_str(), Median(oursTimes), Median(rawTimes), 1.25);
}

/// The pixels of the tiles of a view, each in memory of its own.
std::vector<std::vector<std::uint32_t>> PixelsOf(const TileFiles& files,
                                                 const std::vector<VisibleTile>& tiles) {
    std::vector<std::vector<std::uint32_t>> pixels(tiles.size());
    for (std::size_t i = 0; i < tiles.size(); ++i) {
        DecodeWithGdiplus(ReadWholeFile(files.PathOf(tiles[i].tile)),
                          [&](int, const std::uint32_t* row, int width) {
                              pixels[i].insert(pixels[i].end(), row, row + width);
                          });
    }
    return pixels;
}

void BenchReturning(HostWindow& window, const TileFiles& files) {
    window.Fill(files);
    CTerrascope2& display = window.Shown();
    const CPointF here = display.Center();
    const CPointF there = here + CPointF(12, 0);  // so far that the load regions do not meet
    const auto tiles = VisibleTilesOf(display.View());
    const auto pixels = PixelsOf(files, tiles);
    const auto view = CDibSection::Create(kFullHd.cx, kFullHd.cy);
    const auto width = static_cast<std::size_t>(files.TileSize());
    std::vector<double> oursTimes;
    std::vector<double> rawTimes;
    for (int run = 0; run < kRuns; ++run) {
        display.SetCenter(there);
        window.RunFor(300);  // what lies about it is fetched as well
        const Clock::time_point start = Clock::now();
        display.SetCenter(here);
        oursTimes.push_back(Microseconds(window.RunUntilComplete(files) - start));
        rawTimes.push_back(MicrosecondsOf([&] {
            for (std::size_t i = 0; i < tiles.size(); ++i) {
                const std::uint32_t* row = pixels[i].data();
                for (int y = 0; y < files.TileSize(); ++y, row += width) {
                    CopyRow(*view, tiles[i].corner, y, row, files.TileSize());
                }
            }
            ::BitBlt(window.Dc(), 0, 0, kFullHd.cx, kFullHd.cy, view->Dc(), 0, 0, SRCCOPY);
            ::GdiFlush();
        }));
    }
    window.Close();
    PrintRow("FAST, back from afar, against copying the rows", Median(oursTimes), Median(rawTimes),
             2.0);
}

// Once: a view takes seconds.
void BenchPacedFilling(HostWindow& window, const TileFiles& files) {
    const double filled = window.Fill(files);
    const std::size_t tiles = VisibleTilesOf(window.Shown().View()).size();
    window.Close();
    // A loading thread sleeps 16 times for each tile; what 16 sleeps take is measured.
    const double pace = MicrosecondsOf([] {
        for (int i = 0; i < 16; ++i) {
            ::Sleep(10);
        }
    });
    PrintRow("paced filling, against pace x tiles / 2", filled,
             pace * static_cast<double>(tiles) / 2, 1.05);
}

}  // namespace

// A bench that cannot make its files ends with the exception's text.
int main() {  // NOLINT(bugprone-exception-escape)
    const CGdiplusSession session;
    TerrascopeTest::LibraryFolder library;
    library.AddPlugin("SplittedFileTileMapInfoProvider.dll");
    library.LoadPlugins();
    const auto settings = [&](const char* loading) {
        library.WriteSettings(
            "[SplittedFileTileMapInfoProvider]\r\nDATA_PATH=maps\r\n[TILE_LOAD]\r\n" +
            std::string(loading));
    };
    const TileFiles jpeg256(library.Folder(), "jpeg256", kJpeg256, 5, 32, 8);
    const TileFiles jpeg675(library.Folder(), "jpeg675", kJpeg675, 4, 8, 8);
    const TileFiles png256(library.Folder(), "png256", kPng256, 5, 16, 8);
    HostWindow window;
    PrintHeader();
    settings("FAST=1\r\nTHREADS=4\r\nCACHE_MB=256\r\n");
    BenchFastFilling(window, jpeg256, "FAST view, JPEG 256");
    BenchFastFilling(window, jpeg675, "FAST view, JPEG 675");
    BenchFastFilling(window, png256, "FAST view, PNG 256");
    BenchReturning(window, jpeg256);
    settings("");
    BenchPacedFilling(window, jpeg256);
    return 0;
}
