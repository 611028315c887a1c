#include "bench/TileFiles.h"

#include <shlwapi.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <stdexcept>

#include "terrascope/support/ComRef.h"
#include "terrascope/support/GdiPlus.h"

namespace Terrascope::Bench {

namespace {

CLSID EncoderOf(const wchar_t* mimeType) {
    UINT count = 0;
    UINT bytes = 0;
    Gdiplus::GetImageEncodersSize(&count, &bytes);
    std::vector<std::uint8_t> list(bytes);
    auto* codecs = reinterpret_cast<Gdiplus::ImageCodecInfo*>(list.data());
    Gdiplus::GetImageEncoders(count, bytes, codecs);
    const auto* codec = std::find_if(codecs, codecs + count, [&](const auto& each) {
        return wcscmp(each.MimeType, mimeType) == 0;
    });
    if (codec == codecs + count) {
        throw std::runtime_error("GDI+ has no such encoder");
    }
    return codec->Clsid;
}

/// Hills of light with a grain: what a photograph is to an encoder.
void PaintPhoto(Gdiplus::Bitmap& bitmap, int size, unsigned seed) {
    std::mt19937 random(seed);
    const auto phase = [&] { return static_cast<double>(random() % 628) / 100; };
    const double phases[6] = {phase(), phase(), phase(), phase(), phase(), phase()};
    Gdiplus::BitmapData data;
    const Gdiplus::Rect whole(0, 0, size, size);
    bitmap.LockBits(&whole, Gdiplus::ImageLockModeWrite, PixelFormat24bppRGB, &data);
    for (int y = 0; y < size; ++y) {
        BYTE* pixel = static_cast<BYTE*>(data.Scan0) + std::ptrdiff_t{y} * data.Stride;
        for (int x = 0; x < size; ++x) {
            const int grain = static_cast<int>(random() % 25) - 12;
            for (int part = 0; part < 3; ++part) {
                const double slope = std::sin(x * 0.021 * (part + 1) + phases[part]) +
                                     std::sin(y * 0.017 * (part + 1) + phases[part + 3]);
                *pixel++ = static_cast<BYTE>(110 + static_cast<int>(slope * 40) + grain);
            }
        }
    }
    bitmap.UnlockBits(&data);
}

std::vector<std::uint8_t> Encode(Gdiplus::Bitmap& bitmap, const CLSID& encoder) {
    ULONG quality = 88;
    Gdiplus::EncoderParameters parameters;
    parameters.Count = 1;
    parameters.Parameter[0].Guid = Gdiplus::EncoderQuality;
    parameters.Parameter[0].NumberOfValues = 1;
    parameters.Parameter[0].Type = Gdiplus::EncoderParameterValueTypeLong;
    parameters.Parameter[0].Value = &quality;
    const CComRef<IStream> stream(::SHCreateMemStream(nullptr, 0));
    if (bitmap.Save(stream.Get(), &encoder, &parameters) != Gdiplus::Ok) {
        throw std::runtime_error("GDI+ did not encode a picture");
    }
    STATSTG facts{};
    stream->Stat(&facts, STATFLAG_NONAME);
    std::vector<std::uint8_t> file(static_cast<std::size_t>(facts.cbSize.QuadPart));
    ULONG size = 0;
    stream->Seek({}, STREAM_SEEK_SET, nullptr);
    stream->Read(file.data(), static_cast<ULONG>(file.size()), &size);
    return file;
}

std::string FileName(const TileIndex& tile, const char* extension) {
    return std::to_string(tile.column) + "_" + std::to_string(tile.row) + "." + extension;
}

}  // namespace

TileFiles::TileFiles(const TerrascopeTest::TemporaryFolder& folder, const char* name,
                     const TileFileKind& kind, int layer, int columns, int rows)
    : m_kind(kind), m_name(name), m_layer(layer), m_folder(folder / ("maps\\" + m_name + "\\")) {
    const std::string map = "maps\\" + m_name + "\\";
    const auto text = [](int number) { return std::to_string(number); };
    // Left and bottom edge are the same number: SetLayer takes its middle by the left edge alone.
    folder.WriteFile(
        map + "map.ini",
        "[MAP]\nFIRST_LAYER=" + text(layer) + "\nLAYER_COUNT=1\nLONGITUDE_START=0\n" +
            "LATITUDE_START=0\nLONGITUDE=" + text(columns) + "\nLATITUDE=" + text(rows) +
            "\nTILE_FORMAT=" + kind.extension + "\nTILE_WIDTH=" + text(kind.tileSize) +
            "\nTILE_HEIGHT=" + text(kind.tileSize) + "\nTILE_PATH={column}_{row}.{format}\n" +
            "[LAYER_" + text(layer) + "]\nTILE_COUNT_X=" + text(columns) +
            "\nTILE_COUNT_Y=" + text(rows) + "\n");

    const CLSID encoder = EncoderOf(kind.mimeType);
    Gdiplus::Bitmap bitmap(kind.tileSize, kind.tileSize, PixelFormat24bppRGB);
    m_pictures.resize(static_cast<std::size_t>(kind.pictures));
    for (unsigned i = 0; i < m_pictures.size(); ++i) {
        Picture& picture = m_pictures[i];
        PaintPhoto(bitmap, kind.tileSize, i + 1);
        picture.file = Encode(bitmap, encoder);
        DecodeWithGdiplus(picture.file, [&](int, const std::uint32_t* row, int width) {
            picture.pixels.insert(picture.pixels.end(), row, row + width);
        });
    }
    for (unsigned column = 0; column < static_cast<unsigned>(columns); ++column) {
        for (unsigned row = 0; row < static_cast<unsigned>(rows); ++row) {
            const auto& file = m_pictures[PictureOf({column, row})].file;
            folder.WriteFile(map + FileName({column, row}, kind.extension),
                             {reinterpret_cast<const char*>(file.data()), file.size()});
        }
    }
}

std::string TileFiles::PathOf(const TileIndex& tile) const {
    return m_folder + FileName(tile, m_kind.extension);
}

std::uint32_t TileFiles::PixelOf(const TileIndex& tile, CPoint pixel) const {
    const auto width = static_cast<std::size_t>(m_kind.tileSize);
    const std::size_t at =
        static_cast<std::size_t>(pixel.y) * width + static_cast<std::size_t>(pixel.x);
    return m_pictures[PictureOf(tile)].pixels[at] & 0xFFFFFF;
}

double TileFiles::MeanSize() const {
    double sum = 0.0;
    for (const Picture& picture : m_pictures) {
        sum += static_cast<double>(picture.file.size());
    }
    return sum / static_cast<double>(m_pictures.size());
}

std::size_t TileFiles::PictureOf(const TileIndex& tile) const {
    return (tile.column * 5 + tile.row * 11) % m_pictures.size();
}

std::vector<std::uint8_t> ReadWholeFile(const std::string& path) {
    std::vector<std::uint8_t> bytes;
    const HANDLE file = ::CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                      OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file != INVALID_HANDLE_VALUE) {
        bytes.resize(::GetFileSize(file, nullptr));
        DWORD read = 0;
        ::ReadFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &read, nullptr);
        ::CloseHandle(file);
    }
    return bytes;
}

void DecodeWithGdiplus(const std::vector<std::uint8_t>& file, const TakeRow& take) {
    const CComRef<IStream> stream(::SHCreateMemStream(file.data(), static_cast<UINT>(file.size())));
    Gdiplus::Bitmap bitmap(stream.Get());
    const int width = static_cast<int>(bitmap.GetWidth());
    const int height = static_cast<int>(bitmap.GetHeight());
    const Gdiplus::Rect whole(0, 0, width, height);
    Gdiplus::BitmapData data;
    if (bitmap.LockBits(&whole, Gdiplus::ImageLockModeRead, PixelFormat32bppARGB, &data) !=
        Gdiplus::Ok) {
        throw std::runtime_error("GDI+ did not decode a picture");
    }
    for (int y = 0; y < height; ++y) {
        take(y,
             reinterpret_cast<const std::uint32_t*>(static_cast<const BYTE*>(data.Scan0) +
                                                    std::ptrdiff_t{y} * data.Stride),
             width);
    }
    bitmap.UnlockBits(&data);
}

}  // namespace Terrascope::Bench
