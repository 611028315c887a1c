#pragma once

#include <afxwin.h>

#include <string>
#include <vector>

/// Runs of the real viewer program on a tiny map.
namespace Viewer {

struct RunResult {
    DWORD exitCode = 0;
    std::string output;  ///< standard output
    std::string errors;  ///< standard error

    int OutputLines() const;
    int ErrorLines() const;
};

/// A map library of one map, "Tiny 地图", whose every tile has a colour of its own: two layers of
/// 2 x 1 and 4 x 2 tiles of 64 pixels over the whole world. Made in a new folder, which goes with
/// the object.
class TinyMap {
public:
    TinyMap();
    ~TinyMap();

    static constexpr char kName[] = "Tiny \xE5\x9C\xB0\xE5\x9B\xBE";  // UTF-8
    static constexpr int kTileSize = 64;
    static COLORREF TileColor(int layer, int column, int row);

    const std::string& Folder() const { return m_folder; }
    std::string File(const std::string& name) const { return m_folder + "\\" + name; }

private:
    std::string m_folder;
};

/// Starts the viewer with the map library of `map` and these arguments (UTF-8), gives it `input`,
/// waits until it ends.
RunResult RunViewer(const TinyMap& map, const std::vector<std::string>& arguments,
                    const std::string& input = "");

/// A picture file's pixels.
class Picture {
public:
    explicit Picture(const std::string& file);
    int Width() const { return m_width; }
    int Height() const { return m_height; }
    /// Black outside the picture.
    COLORREF At(int x, int y) const;

private:
    int m_width = 0;
    int m_height = 0;
    std::vector<COLORREF> m_pixels;
};

}  // namespace Viewer
