#pragma once

#include <afxwin.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "terrascope/tiles/TileKey.h"
#include "tests/fixtures/TemporaryFolder.h"

namespace Terrascope::Bench {

/// What a map of tile files is made of.
struct TileFileKind {
    const wchar_t* mimeType;  ///< of one of GDI+'s encoders
    const char* extension;
    int tileSize;  ///< pixels
    int pictures;  ///< different ones; the tiles of the map take them in turn
};

inline constexpr TileFileKind kJpeg96{L"image/jpeg", "jpg", 96, 64};
inline constexpr TileFileKind kJpeg256{L"image/jpeg", "jpg", 256, 64};
inline constexpr TileFileKind kJpeg675{L"image/jpeg", "jpg", 675, 16};
inline constexpr TileFileKind kPng256{L"image/png", "png", 256, 64};

/// A map in a folder of image files, for the split-file provider. The pictures are made here:
/// smooth slopes with noise on them, as in photographs, JPEG quality 88. The map has one layer of
/// square map units, so that SetLayer shows its middle.
///
/// Borrows: the folder.
class TileFiles {
public:
    TileFiles(const TerrascopeTest::TemporaryFolder& folder, const char* name,
              const TileFileKind& kind, int layer, int columns, int rows);

    const char* Name() const { return m_name.c_str(); }
    int Layer() const { return m_layer; }
    int TileSize() const { return m_kind.tileSize; }

    std::string PathOf(const TileIndex& tile) const;

    /// What a decoder makes of a pixel of a tile; 0x00RRGGBB.
    std::uint32_t PixelOf(const TileIndex& tile, CPoint pixel) const;

    /// In bytes, of one file.
    double MeanSize() const;

private:
    std::size_t PictureOf(const TileIndex& tile) const;

    struct Picture {
        std::vector<std::uint8_t> file;
        std::vector<std::uint32_t> pixels;
    };

    const TileFileKind m_kind;
    const std::string m_name;
    const int m_layer;
    const std::string m_folder;  ///< with a backslash at its end
    std::vector<Picture> m_pictures;
};

/// A file's bytes, by plain calls of the system.
std::vector<std::uint8_t> ReadWholeFile(const std::string& path);

/// Decodes an image file with GDI+ alone, as any program would; `take` gets its rows from the top.
using TakeRow = std::function<void(int y, const std::uint32_t* row, int width)>;
void DecodeWithGdiplus(const std::vector<std::uint8_t>& file, const TakeRow& take);

}  // namespace Terrascope::Bench
