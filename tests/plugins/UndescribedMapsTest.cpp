#include <gtest/gtest.h>

#include <filesystem>
#include <memory>

#include "plugins/split_file/SplittedFileTileMapInfoProvider.h"
#include "tests/fixtures/LogCapture.h"
#include "tests/fixtures/ScriptedProvider/TileBitmap.h"
#include "tests/fixtures/TemporaryFolder.h"

/// Maps that have no map.ini: what GDAL's tiler writes, and folders of numbered tiles.
namespace {

using namespace Terrascope;

std::string Resource(const std::string& profile, const std::string& box, const std::string& sets,
                     const std::string& extension = "png") {
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<TileMap version=\"1.0.0\">\n"
           "<Title>T</Title><Abstract>of &amp; for</Abstract><SRS>EPSG:3857</SRS>\n"
           "<BoundingBox " +
           box +
           "/><Origin x=\"0\" y=\"0\"/>\n"
           "<TileFormat width=\"256\" height=\"256\" extension=\"" +
           extension +
           "\"/>\n"
           "<TileSets profile=\"" +
           profile + "\">" + sets + "</TileSets>\n</TileMap>";
}

std::string TileSet(int order, const std::string& unitsPerPixel = "1") {
    return "<TileSet href=\"x/" + std::to_string(order) + "\" units-per-pixel=\"" + unitsPerPixel +
           "\" order=\"" + std::to_string(order) + "\"/>";
}

class UndescribedMaps : public testing::Test {
protected:
    /// The only map of a data path: name, layers, tiles of the first layer, extent.
    std::string OnlyMap(const std::string& dataPath) {
        m_provider = std::make_unique<Plugins::CSplittedFileTileMapInfoProvider>();
        m_provider->SetDataPath(dataPath.c_str());
        CString text;
        for (const tagTILE_MAP_INFO* entry : m_provider->GetMapList()) {
            const std::unique_ptr<const tagTILE_MAP_INFO> map(entry);
            const std::unique_ptr<const tagTILE_MAP_LAYER_INFO> layer(
                m_provider->GetLayerInfo(map->strName, map->nFirstLayer));
            text.AppendFormat("%s %d+%d %dx%d of %d: %.9g %.9g %.9g %.9g", map->strName.GetString(),
                              map->nFirstLayer, map->nLayerCount, layer->nTileCountX,
                              layer->nTileCountY, map->nTileWidth, map->dLongitudeStart,
                              map->dLatitudeStart, map->dLongitude, map->dLatitude);
        }
        return text.GetString();
    }
    bool HasTile(const char* map, const CString& key, const std::string& file) {
        m_folder.WriteFile(file, file);
        bool has = false;
        for (tagTILE_IMAGE* tile : m_provider->LoadTiles(map, key.GetLength(), {key})) {
            has = tile->stream.GetLength() == file.size() &&
                  memcmp(tile->stream.GetBuffer(), file.data(), file.size()) == 0;
            delete tile;
        }
        return has;
    }
    void WriteImage(const std::string& file) {
        const auto bytes = TerrascopeTest::MakeBitmapFile(8, 8, [](int, int) { return 0; });
        m_folder.WriteFile(file, {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    }

    TerrascopeTest::TemporaryFolder m_folder;
    TerrascopeTest::LogCapture m_log;
    std::unique_ptr<Plugins::CSplittedFileTileMapInfoProvider> m_provider;
};

TEST_F(UndescribedMaps, AreWhatTheTilerSays) {
    const std::string xml = "lib\\m\\tilemapresource.xml";
    const std::string sets = TileSet(0) + TileSet(3) + TileSet(4) + TileSet(6);
    const char* europe = R"(minx="5" miny="45" maxx="15" maxy="55")";
    m_folder.WriteFile(xml, Resource("mercator", europe, sets));
    // Levels from 1 on that follow each other: of 0, 3, 4, 6 the second and the third.
    EXPECT_EQ("T 3+2 1x1 of 256: 0 45 45 45", OnlyMap(m_folder / "lib"));
    EXPECT_TRUE(HasTile("T", "000", "lib\\m\\3\\4\\5.png"));
    EXPECT_TRUE(HasTile("T", "0003", "lib\\m\\4\\9\\10.png"));
    EXPECT_FALSE(HasTile("T", "001", "lib\\m\\3\\5\\5.png")) << "outside the map";
    const std::unique_ptr<tagTILE_MAP_INFO> info(m_provider->GetMapInfo("t"));
    EXPECT_EQ(0, info->strRemark.Find("of & for Web Mercator: x in"))
        << info->strRemark.GetString();

    m_folder.WriteFile(xml, Resource("global-mercator",
                                     R"(minx="-111319.49" miny="5621521.49")"
                                     R"( maxx="111319.49" maxy="5621521.5")",
                                     sets));
    EXPECT_EQ("T 3+2 2x1 of 256: -45 45 90 45", OnlyMap(m_folder / "lib")) << "metres";
    m_folder.WriteFile(
        xml, Resource("mercator", R"(minx="-80" miny="-180" maxx="80" maxy="180")", TileSet(1)));
    EXPECT_EQ("T 1+1 2x2 of 256: -180 -180 360 360", OnlyMap(m_folder / "lib")) << "swapped";

    m_folder.WriteFile(xml,
                       Resource("geodetic", R"(minx=" -180" miny="-90 " maxx="+180" maxy="90")",
                                TileSet(0) + TileSet(1)));
    // The folder itself is the map.
    EXPECT_EQ("T 1+2 2x1 of 256: -180 -90 360 180", OnlyMap(m_folder / "lib\\m"));
    EXPECT_TRUE(HasTile("T", "1", "lib\\m\\0\\1\\0.png"));
    EXPECT_TRUE(HasTile("T", "10", "lib\\m\\1\\2\\1.png"));

    // Without folders to look at there are two tiles in level 0; with these there is one.
    m_folder.WriteFile(xml, Resource("geodetic", europe, TileSet(0) + TileSet(1) + TileSet(4)));
    EXPECT_EQ("T 1+2 1x1 of 256: 0 -90 180 180", OnlyMap(m_folder / "lib"));
    std::filesystem::remove_all(m_folder / "lib\\m\\0");
    EXPECT_TRUE(HasTile("T", "0", "lib\\m\\0\\1\\0.png"));
    std::filesystem::rename(m_folder / "lib\\m\\0\\1", m_folder / "lib\\m\\0\\0");
    EXPECT_EQ("T 1+1 1x1 of 256: 0 -90 180 180", OnlyMap(m_folder / "lib"));
    EXPECT_TRUE(HasTile("T", "0", "lib\\m\\1\\1\\0.png"));

    m_folder.WriteFile(xml, Resource("raster", R"(minx="0" miny="-1000" maxx="2000" maxy="0")",
                                     TileSet(1, "4") + TileSet(2, "2")));
    EXPECT_EQ("T 1+2 2x1 of 256: 0 -1000 2048 1024", OnlyMap(m_folder / "lib"));
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
    EXPECT_EQ("T 1+1 2x2 of 256: -180 -180 360 360", OnlyMap(m_folder / "lib"));
    EXPECT_EQ(1, m_log.Count("BoundingBox.miny: is not a number")) << m_log.Text();
    EXPECT_EQ(1, m_log.Count("TileFormat.width: is not a number")) << m_log.Text();
    EXPECT_EQ(2U, m_log.Lines().size()) << m_log.Text();
}

TEST_F(UndescribedMaps, AreFoldersOfNumberedTiles) {
    for (const char* file : {"lib\\osm\\2\\1\\1.png", "lib\\osm\\2\\2\\1.png",
                             "lib\\osm\\3\\2\\2.png", "lib\\osm\\5\\0\\0.png"}) {
        WriteImage(file);
    }
    const std::string osm = "osm 2+2 2x1 of 8: -90 0 180 90";
    EXPECT_EQ(osm, OnlyMap(m_folder / "lib"));
    EXPECT_EQ(osm, OnlyMap(m_folder / "lib\\osm")) << "the folder itself";
    EXPECT_TRUE(HasTile("osm", "001", "lib\\osm\\3\\3\\2.png"));

    // What is not unmistakable is no map.
    WriteImage("lib\\osm\\2\\2\\4.png");
    EXPECT_EQ("", OnlyMap(m_folder / "lib")) << "row 4 of 4";
    ::DeleteFileA((m_folder / "lib\\osm\\2\\2\\4.png").c_str());
    EXPECT_EQ(osm, OnlyMap(m_folder / "lib"));
    WriteImage("lib\\osm\\2\\2\\2.jpg");
    EXPECT_EQ("", OnlyMap(m_folder / "lib")) << "two endings";
    ::DeleteFileA((m_folder / "lib\\osm\\2\\2\\2.jpg").c_str());
    m_folder.MakeFolder("lib\\osm\\thumbnails");
    EXPECT_EQ("", OnlyMap(m_folder / "lib")) << "a folder that is no zoom level";
}

}  // namespace
