// What the road of a tile adds to the image libraries behind TerrascopeCodecs.dll: one decode, and
// a whole view from files.
#include <afxwin.h>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <jpeglib.h>
#include <spng.h>
#include <webp/decode.h>

#include "bench/HostWindow.h"
#include "bench/Measure.h"
#include "bench/TileFiles.h"
#include "terrascope/display/DibSection.h"
#include "terrascope/support/files/Paths.h"
#include "terrascope/tiles/ImageDecoding.h"
#include "tests/fixtures/LibraryFolder.h"

namespace {

using namespace Terrascope;
using namespace Terrascope::Bench;

using Bytes = std::vector<std::uint8_t>;
using Pixels = std::vector<std::uint32_t>;

// The shortest way of each library from a file to pixels of 32 bits, as its manual has it.

void DecodeJpeg(const Bytes& file, Pixels& pixels) {
    jpeg_decompress_struct info{};
    jpeg_error_mgr errors{};
    info.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&info);
    jpeg_mem_src(&info, file.data(), static_cast<unsigned long>(file.size()));
    jpeg_read_header(&info, TRUE);
    info.out_color_space = JCS_EXT_BGRA;
    jpeg_start_decompress(&info);
    while (info.output_scanline < info.output_height) {
        auto* row = reinterpret_cast<JSAMPROW>(pixels.data() + std::size_t{info.output_scanline} *
                                                                   info.output_width);
        jpeg_read_scanlines(&info, &row, 1);
    }
    jpeg_finish_decompress(&info);
    jpeg_destroy_decompress(&info);
}

void DecodePng(const Bytes& file, Pixels& pixels) {
    spng_ctx* reader = spng_ctx_new(0);
    spng_set_png_buffer(reader, file.data(), file.size());
    spng_decode_image(reader, pixels.data(), pixels.size() * 4, SPNG_FMT_RGBA8, SPNG_DECODE_TRNS);
    spng_ctx_free(reader);
}

void DecodeWebP(const Bytes& file, Pixels& pixels, int width) {
    WebPDecodeBGRAInto(file.data(), file.size(), reinterpret_cast<std::uint8_t*>(pixels.data()),
                       pixels.size() * 4, width * 4);
}

void BenchDecoding(const CImageDecoders& decoders) {
    constexpr int kRuns = 41;
    const auto store = CPixelStore::Shared();  // as a display holds it
    char name[MAX_PATH] = "";
    for (const int size : {256, 675}) {
        Pixels pixels(static_cast<std::size_t>(size) * static_cast<std::size_t>(size));
        const int calls = size == 256 ? 16 : 3;
        for (const std::string format : {"jpg", "png", "webp"}) {
            std::snprintf(name, sizeof(name), "%s\\pictures\\%d.%s",
                          ModuleFolder(nullptr).GetString(), size, format.c_str());
            const Bytes file = ReadWholeFile(name);
            if (DecodeImage(file, CSize(size, size), &decoders).picture == nullptr) {
                throw std::runtime_error("a picture is not decoded");
            }
            const auto raw = [&] {
                format == "jpg"   ? DecodeJpeg(file, pixels)
                : format == "png" ? DecodePng(file, pixels)
                                  : DecodeWebP(file, pixels, size);
            };
            const auto repeated = [&](const auto& work) {
                return [&, calls] {
                    for (int i = 0; i < calls; ++i) {
                        work();
                    }
                };
            };
            const auto ours = [&] { Use(DecodeImage(file, CSize(size, size), &decoders)); };
            std::snprintf(name, sizeof(name), "decode %s %d, against the library", format.c_str(),
                          size);
            Compare(name, 1.1, kRuns, calls, repeated(ours), repeated(raw));
            if (format != "webp") {
                const auto gdiplus = [&] { Use(DecodeImage(file, CSize(size, size))); };
                std::snprintf(name, sizeof(name), "decode %s %d, against GDI+", format.c_str(),
                              size);
                Compare(name, 1.0, kRuns / 4, calls, repeated(ours), repeated(gdiplus));
            }
        }
    }
}

/// Two threads read, decode and copy the tiles in turn; then the view goes to the window.
void FillRaw(const TileFiles& files, const std::vector<VisibleTile>& tiles, HDC window) {
    const auto view = CDibSection::Create(kFullHd.cx, kFullHd.cy);
    std::atomic<std::size_t> next{0};
    const auto size = static_cast<std::size_t>(files.TileSize());
    const auto work = [&] {
        Pixels pixels(size * size);
        for (std::size_t i = next++; i < tiles.size(); i = next++) {
            DecodeJpeg(ReadWholeFile(files.PathOf(tiles[i].tile)), pixels);
            CRect part;
            part.IntersectRect(CRect(tiles[i].corner, CSize(files.TileSize(), files.TileSize())),
                               CRect(0, 0, view->Width(), view->Height()));
            for (int y = part.top; y < part.bottom; ++y) {
                const auto line = static_cast<std::size_t>(y - tiles[i].corner.y);
                std::memcpy(view->Row(y) + part.left,
                            pixels.data() + line * size + (part.left - tiles[i].corner.x),
                            static_cast<std::size_t>(part.Width()) * 4);
            }
        }
    };
    std::thread first(work);
    std::thread second(work);
    first.join();
    second.join();
    ::BitBlt(window, 0, 0, kFullHd.cx, kFullHd.cy, view->Dc(), 0, 0, SRCCOPY);
    ::GdiFlush();
}

void BenchFilling(const TerrascopeTest::LibraryFolder& library, const char* lines, const char* name,
                  double target) {
    constexpr int kRuns = 21;
    library.WriteSettings(
        "[SplittedFileTileMapInfoProvider]\r\nDATA_PATH=maps\r\n[TILE_LOAD]\r\nFAST=1\r\n" +
        std::string(lines));
    const TileFiles files(library.Folder(), "jpeg256", kJpeg256, 5, 32, 8);
    HostWindow window;
    window.Fill(files);
    const auto tiles = VisibleTilesOf(window.Shown().View());
    window.Close();
    std::vector<double> oursTimes;
    std::vector<double> rawTimes;
    for (int run = 0; run < kRuns; ++run) {
        oursTimes.push_back(window.Fill(files));
        window.Close();
        rawTimes.push_back(MicrosecondsOf([&] { FillRaw(files, tiles, window.Dc()); }));
    }
    PrintRow((name + (", " + std::to_string(tiles.size())) + " tiles").c_str(), Median(oursTimes),
             Median(rawTimes), target);
}

}  // namespace

// A bench that cannot make its files ends with the exception's text.
int main() {  // NOLINT(bugprone-exception-escape)
    const CGdiplusSession session;
    const TerrascopeTest::LibraryFolder library;
    library.AddPlugin("SplittedFileTileMapInfoProvider.dll");
    library.AddDecoder("TerrascopeCodecs.dll");
    library.LoadPlugins();
    PrintHeader();
    {
        const auto decoders = CImageDecoders::Installed();
        BenchDecoding(*decoders);
    }
    BenchFilling(library, "THREADS=2\r\nCODECS=1\r\n", "FAST view, CODECS, 2 threads", 1.3);
    BenchFilling(library, "THREADS=4\r\nCODECS=1\r\n", "FAST view, CODECS, 4 threads", 1.3);
    return 0;
}
