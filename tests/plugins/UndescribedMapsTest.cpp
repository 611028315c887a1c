#include <filesystem>

#include "plugins/split_file/SplittedFileTileMapInfoProvider.h"
#include "tests/fixtures/ProviderFixture.h"
#include "tests/fixtures/ScriptedProvider/TileBitmap.h"

/// Maps that have no map.ini: what GDAL's tiler writes, and folders of numbered tiles.
namespace {

using namespace Terrascope;

std::string Resource(const std::string& profile, const std::string& box, const std::string& sets,
                     const std::string& extension = "png") {
    return R"(<?xml version="1.0" encoding="utf-8"?><TileMap version="1.0.0"><Title>T</Title>)"
           R"(<Abstract>of &amp; for</Abstract><SRS>EPSG:3857</SRS>)"
           "\n<BoundingBox " +
           box + R"(/><Origin x="0" y="0"/><TileFormat width="256" height="256" extension=")" +
           extension + "\"/><TileSets profile=\"" + profile + "\">" + sets +
           "</TileSets>\n</TileMap>";
}

std::string TileSet(int order, const std::string& unitsPerPixel = "1") {
    return "<TileSet href=\"x/" + std::to_string(order) + "\" units-per-pixel=\"" + unitsPerPixel +
           "\" order=\"" + std::to_string(order) + "\"/>";
}

class UndescribedMaps
    : public TerrascopeTest::ProviderFixture<Plugins::CSplittedFileTileMapInfoProvider> {
protected:
    /// The only map of a data path.
    std::string OnlyMap(const std::string& dataPath) {
        Open(dataPath);
        std::string text;
        for (const std::string& name : MapNames()) {
            text += MapText(name);
        }
        return text;
    }
    bool HasTile(const char* map, const char* key, const std::string& file) {
        m_folder.WriteFile(file, file);
        return Tile(map, key) == file;
    }
    void WriteImage(const std::string& file) {
        const auto bytes = TerrascopeTest::MakeBitmapFile(8, 8, [](int, int) { return 0; });
        m_folder.WriteFile(file, {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    }
};

TEST_F(UndescribedMaps, AreWhatTheTilerSays) {
    const std::string xml = "lib\\m\\tilemapresource.xml";
    const std::string sets = TileSet(0) + TileSet(3) + TileSet(4) + TileSet(6);
    const char* europe = R"(minx="5" miny="45" maxx="15" maxy="55")";
    m_folder.WriteFile(xml, Resource("mercator", europe, sets));
    // Levels from 1 on that follow each other: of 0, 3, 4, 6 the second and the third.
    EXPECT_EQ("T png 3-4 1x1..2x2 (0 45 45 45) 256x256", OnlyMap(m_folder / "lib"));
    EXPECT_TRUE(HasTile("T", "000", "lib\\m\\3\\4\\5.png"));
    EXPECT_TRUE(HasTile("T", "0003", "lib\\m\\4\\9\\10.png"));
    EXPECT_FALSE(HasTile("T", "001", "lib\\m\\3\\5\\5.png")) << "outside the map";
    EXPECT_EQ(0U, Remark("t").find("of & for Web Mercator: x in")) << Remark("t");

    m_folder.WriteFile(xml, Resource("global-mercator",
                                     R"(minx="-111319.49" miny="5621521.49")"
                                     R"( maxx="111319.49" maxy="5621521.5")",
                                     sets));
    EXPECT_EQ("T png 3-4 2x1..4x2 (-45 45 90 45) 256x256", OnlyMap(m_folder / "lib")) << "metres";
    m_folder.WriteFile(
        xml, Resource("mercator", R"(minx="-80" miny="-180" maxx="80" maxy="180")", TileSet(1)));
    EXPECT_EQ("T png 1-1 2x2..2x2 (-180 -180 360 360) 256x256", OnlyMap(m_folder / "lib"))
        << "swapped";

    m_folder.WriteFile(xml,
                       Resource("geodetic", R"(minx=" -180" miny="-90 " maxx="+180" maxy="90")",
                                TileSet(0) + TileSet(1)));
    // The folder itself is the map.
    EXPECT_EQ("T png 1-2 2x1..4x2 (-180 -90 360 180) 256x256", OnlyMap(m_folder / "lib\\m"));
    EXPECT_TRUE(HasTile("T", "1", "lib\\m\\0\\1\\0.png"));
    EXPECT_TRUE(HasTile("T", "10", "lib\\m\\1\\2\\1.png"));

    // Without folders to look at there are two tiles in level 0; with these there is one.
    m_folder.WriteFile(xml, Resource("geodetic", europe, TileSet(0) + TileSet(1) + TileSet(4)));
    EXPECT_EQ("T png 1-2 1x1..2x2 (0 -90 180 180) 256x256", OnlyMap(m_folder / "lib"));
    std::filesystem::remove_all(m_folder / "lib\\m\\0");
    EXPECT_TRUE(HasTile("T", "0", "lib\\m\\0\\1\\0.png"));
    std::filesystem::rename(m_folder / "lib\\m\\0\\1", m_folder / "lib\\m\\0\\0");
    EXPECT_EQ("T png 1-1 1x1..1x1 (0 -90 180 180) 256x256", OnlyMap(m_folder / "lib"));
    EXPECT_TRUE(HasTile("T", "0", "lib\\m\\1\\1\\0.png"));

    m_folder.WriteFile(xml, Resource("raster", R"(minx="0" miny="-1000" maxx="2000" maxy="0")",
                                     TileSet(1, "4") + TileSet(2, "2")));
    EXPECT_EQ("T png 1-2 2x1..4x2 (0 -1000 2048 1024) 256x256", OnlyMap(m_folder / "lib"));
    EXPECT_TRUE(HasTile("T", "00", "lib\\m\\2\\0\\1.png"));
    EXPECT_EQ(0U, m_log.Lines().size()) << m_log.Text();
}

TEST_F(UndescribedMaps, AreLeftOutWithTheReason) {
    const std::string box = R"(minx="0" miny="0" maxx="9" maxy="9")";
    const std::string whole = Resource("mercator", box, TileSet(1));
    const std::pair<std::string, const char*> cases[] = {
        {whole.substr(0, whole.size() - 4), "no well-formed XML"},
        {"<!DOCTYPE a [<!ENTITY b \"c\">]>" + whole, "no well-formed XML"},
        {"", "no well-formed XML"},
        {Resource("polar", box, TileSet(1)), "TileSets.profile: is not"},
        {Resource("mercator", box, TileSet(1), "..\\x"), "TileFormat.extension: is not"},
        {Resource("mercator", R"(minx="0" miny="9" maxx="9" maxy="9")", TileSet(1)), "is empty"},
        {Resource("raster", R"(minx="+-1" miny="0" maxx="9" maxy="9")", TileSet(1)),
         "BoundingBox.minx: is not a number"},
        {Resource("geodetic", R"(minx="400" miny="0" maxx="500" maxy="9")", TileSet(1)), "no tile"},
        {Resource("mercator", box, TileSet(0) + TileSet(31) + TileSet(-1)), "no level"},
        {Resource("raster", box, TileSet(1, "0")), "units-per-pixel: does not fit"},
        {Resource("raster", box, TileSet(1, "1e-9")), "units-per-pixel: does not fit"},
    };
    for (const auto& [file, reason] : cases) {
        const auto before = m_log.Count(reason);
        m_folder.WriteFile("lib\\m\\tilemapresource.xml", file);
        EXPECT_EQ("", OnlyMap(m_folder / "lib")) << reason;
        EXPECT_EQ(before + 1, m_log.Count(reason)) << reason << m_log.Text();
    }
}

TEST_F(UndescribedMaps, DoWithoutValuesThatAreWrong) {
    std::string file = Resource("mercator", R"(minx="1" miny="no" maxx="9" maxy="9")", TileSet(1));
    file.replace(file.find("width=\"256\""), 11, "width=\"256px\"");
    m_folder.WriteFile("lib\\m\\tilemapresource.xml", file);
    EXPECT_EQ("T png 1-1 2x2..2x2 (-180 -180 360 360) 256x256", OnlyMap(m_folder / "lib"));
    EXPECT_EQ(1, m_log.Count("BoundingBox.miny: is not a number")) << m_log.Text();
    EXPECT_EQ(1, m_log.Count("TileFormat.width: is not a number")) << m_log.Text();
    EXPECT_EQ(2U, m_log.Lines().size()) << m_log.Text();
}

TEST_F(UndescribedMaps, AreFoldersOfNumberedTiles) {
    for (const char* file : {"lib\\osm\\2\\1\\1.png", "lib\\osm\\2\\2\\1.png",
                             "lib\\osm\\3\\2\\2.png", "lib\\osm\\5\\0\\0.png"}) {
        WriteImage(file);
    }
    const std::string osm = "osm png 2-3 2x1..4x2 (-90 0 180 90) 8x8";
    EXPECT_EQ(osm, OnlyMap(m_folder / "lib"));
    EXPECT_EQ(osm, OnlyMap(m_folder / "lib\\osm")) << "the folder itself";
    EXPECT_TRUE(HasTile("osm", "001", "lib\\osm\\3\\3\\2.png"));

    // What is kept of a remote provider's maps lies there.
    m_folder.MakeFolder("lib\\osm\\Kept");
    EXPECT_EQ(osm, OnlyMap(m_folder / "lib\\osm"));

    // What is not unmistakable is no map.
    for (const char* file : {"lib\\osm\\2\\2\\4.png", "lib\\osm\\2\\2\\2.jpg"}) {
        WriteImage(file);
        EXPECT_EQ("", OnlyMap(m_folder / "lib")) << "row 4 of 4, or two endings";
        ::DeleteFileA((m_folder / file).c_str());
        EXPECT_EQ(osm, OnlyMap(m_folder / "lib"));
    }
    m_folder.MakeFolder("lib\\osm\\thumbnails");
    EXPECT_EQ("", OnlyMap(m_folder / "lib")) << "a folder that is no zoom level";
}

}  // namespace
