#include "plugins/split_file/SplittedFileTileMapInfoProvider.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/fixtures/LibraryFolder.h"
#include "tests/fixtures/ProviderFixture.h"

namespace {

using namespace Terrascope;
using Plugins::CSplittedFileTileMapInfoProvider;
using testing::ElementsAre;
using testing::IsEmpty;

/// The world in two squares side by side, rows named before columns.
constexpr char kWorld[] =
    "[MAP]\nFIRST_LAYER=1\nLAYER_COUNT=4\nLONGITUDE_START=-180\nLATITUDE_START=-90\n"
    "LONGITUDE=360\nLATITUDE=180\nTILE_WIDTH=675\nTILE_HEIGHT=675\n"
    "TILE_PATH={layer-1}\\{row:6}\\{row:6}_{column:6}.jpg\n[LAYER_1]\nTILE_COUNT_X=2\n";

std::string World(const std::string& key, const std::string& value) {
    return std::string(kWorld) + "[MAP]\n" + key + "=" + value + "\n";
}

class SplitFile : public TerrascopeTest::ProviderFixture<CSplittedFileTileMapInfoProvider> {
protected:
    void Open() { m_provider->SetDataPath(m_folder.Path().c_str()); }
    std::vector<std::string> OpenAnew() {
        ProviderFixture::Open(m_folder.Path());
        return MapNames();
    }
    void SetTime(const char* file, std::filesystem::file_time_type time) {
        std::filesystem::last_write_time(m_folder / file, time);
    }
};

TEST_F(SplitFile, ServesAPyramidOfTwoSquares) {
    m_folder.WriteFile("earth\\map.ini", World("NAME", "Relief"));
    m_folder.WriteFile("earth\\0\\000000\\000000_000001.jpg", "east");
    m_folder.WriteFile("earth\\3\\000007\\000007_000015.jpg", "far south-east");
    m_folder.WriteFile("earth\\1\\000000\\000000_000000.jpg", "");
    m_folder.MakeFolder("earth\\1\\000000\\000000_000001.jpg");
    std::filesystem::resize_file(m_folder.WriteFile("earth\\1\\000001\\000001_000000.jpg", ""),
                                 64 * 1024 * 1024 + 1);
    Open();

    EXPECT_EQ("east", Tile("RELIEF", "1"));
    EXPECT_EQ("far south-east", Tile("Relief", "1333"));
    // No file; row 1 of 1; an empty file; a folder; a file of more than 64 MiB; no keys.
    for (const char* key : {"0", "2", "00", "01", "02", "04", "0a", "0 ", ".."}) {
        EXPECT_EQ("none", Tile("Relief", key)) << key;
    }
    EXPECT_EQ("Relief jpg 1-4 2x1..16x8 (-180 -90 360 180) 675x675", MapText("relief"));
    EXPECT_EQ("none", Tiles("Relief", 1, {"00", "", "%s"})) << "keys of no tile of layer 1";
    EXPECT_THAT(m_log.Lines(), IsEmpty()) << m_log.Text();
}

TEST_F(SplitFile, ListsUsableMapsByFolderAndNamesTheOthersInTheLog) {
    for (const char* file : {"b\\map.ini", "A\\map.ini", "map.ini"}) {
        m_folder.WriteFile(file, kWorld);
    }
    m_folder.WriteFile("c\\map.ini", World("NAME", "B"));
    m_folder.WriteFile("d\\map.ini", World("LAYER_COUNT", "2000000000"));
    m_folder.WriteFile("e\\map.ini", std::string(1024 * 1024 + 1, ';'));
    m_folder.MakeFolder("f\\map.ini");
    m_folder.WriteFile("g\\map.ini", World("TILE_WIDTH", "256") + "[LAYER_3]\nZOOM_FACTOR=128\n");
    Open();

    EXPECT_THAT(MapNames(), ElementsAre("A", "b", "g"));
    EXPECT_EQ(4U, m_log.Lines().size()) << m_log.Text();
    for (const char* line :
         {"c': another map is called 'B'", "d\\map.ini': [MAP] LAYER_COUNT: '2000000000' is not",
          "e\\map.ini': larger than 1 MiB",
          "g\\map.ini': [LAYER_3] ZOOM_FACTOR: 128 makes tiles of 32768 x 86400 pixels, expected 1 "
          "to 67108864 pixels in all; the map ends with layer 2"}) {
        EXPECT_EQ(1, m_log.Count(line)) << m_log.Text();
    }
    EXPECT_EQ(nullptr, m_provider->GetLayerInfo("g", 3));
}

TEST_F(SplitFile, OpensNothingOutsideTheMapsFolder) {
    const std::string secret = m_folder.WriteFile("secret.jpg", "secret");
    m_folder.MakeFolder("m\\x");
    for (const std::string& pattern : std::vector<std::string>{
             "..\\secret.jpg", "x/../../secret.jpg", secret, "{format}", ".{format}"}) {
        m_folder.WriteFile("m\\map.ini",
                           World("TILE_PATH", pattern) + "TILE_FORMAT=.\\..\\secret.jpg\n");
        Open();
        EXPECT_EQ("none", Tile("m", "0")) << pattern;
    }
}

TEST_F(SplitFile, UpdateMapLibReadsTheFolderAnew) {
    EXPECT_FALSE(m_provider->UpdateMapLib(true)) << "no data path";
    m_provider->SetDataPath((m_folder / "maps\\").c_str());
    EXPECT_EQ(1, m_log.Count("is not a folder"));
    m_folder.WriteFile("maps\\new\\map.ini", kWorld);
    EXPECT_TRUE(m_provider->UpdateMapLib(false));
    EXPECT_THAT(MapNames(), ElementsAre("new"));
}

TEST_F(SplitFile, ReadsForAllProvidersWhatHasChanged) {
    const auto now = std::filesystem::file_time_type::clock::now();
    const std::string noTime = "UPDATE_TIME=?\n";  // a line in the log for each reading
    for (const char* file : {"a\\map.ini", "b\\map.ini"}) {
        m_folder.WriteFile(file, World("NAME", file) + noTime);
        SetTime(file, now - std::chrono::hours(1));
    }
    EXPECT_THAT(OpenAnew(), ElementsAre("a\\map.ini", "b\\map.ini"));
    auto other = std::move(m_provider);
    EXPECT_THAT(OpenAnew(), ElementsAre("a\\map.ini", "b\\map.ini"));
    EXPECT_TRUE(m_provider->UpdateMapLib(true));
    EXPECT_EQ(2U, m_log.Lines().size()) << "nothing has changed: " << m_log.Text();

    m_folder.WriteFile("b\\map.ini", World("NAME", "B\\map.ini") + noTime);
    EXPECT_THAT(OpenAnew(), ElementsAre("a\\map.ini", "B\\map.ini")) << "as long as before";
    EXPECT_EQ(3U, m_log.Lines().size()) << "only the changed one is read: " << m_log.Text();
    SetTime("b\\map.ini", now);
    OpenAnew();
    m_folder.WriteFile("b\\map.ini", World("NAME", "C\\map.ini") + noTime);
    SetTime("b\\map.ini", now);
    EXPECT_THAT(OpenAnew(), ElementsAre("a\\map.ini", "C\\map.ini")) << "in the same time step";

    m_folder.MakeFolder("empty");
    std::filesystem::rename(m_folder / "a", m_folder / "z");
    m_folder.WriteFile("z\\0\\000000\\000000_000001.jpg", "moved");
    EXPECT_THAT(OpenAnew(), ElementsAre("C\\map.ini", "a\\map.ini"));
    EXPECT_EQ("moved", Tile("a\\map.ini", "1"));
    m_folder.WriteFile("empty\\map.ini", kWorld);
    std::filesystem::remove(m_folder / "b\\map.ini");
    EXPECT_THAT(OpenAnew(), ElementsAre("empty", "a\\map.ini"));

    std::filesystem::rename(m_folder.Path(), m_folder.Path() + "x");
    EXPECT_FALSE(other->UpdateMapLib(true));
    EXPECT_THAT(OpenAnew(), IsEmpty()) << "the folder has vanished";
    std::swap(m_provider, other);
    EXPECT_THAT(MapNames(), ElementsAre("a\\map.ini", "b\\map.ini")) << "its own, as they were";
    std::filesystem::rename(m_folder.Path() + "x", m_folder.Path());
    EXPECT_THAT(OpenAnew(), ElementsAre("empty", "a\\map.ini"));
}

TEST_F(SplitFile, AsksTheRemoteProviderForMissingTilesAndDeletesIt) {
    m_folder.WriteFile("m\\map.ini", World("TILE_PATH", "{key}.jpg"));
    m_folder.WriteFile("m\\01.jpg", "local");
    m_folder.WriteFile("far\\far\\map.ini", kWorld);
    m_folder.WriteFile("far\\M\\map.ini", World("LAYER_COUNT", "2"));
    bool deleted = false;
    auto* remote = new Remote(deleted);
    remote->SetDataPath((m_folder / "far").c_str());
    m_provider->m_pRemoteProvider = remote;
    Open();
    EXPECT_THAT(MapNames(), ElementsAre("m", "far"));
    EXPECT_EQ("far jpg 1-4 2x1..16x8 (-180 -90 360 180) 675x675", MapText("FAR"));
    EXPECT_EQ("16x8", LayerText("m", 4)) << "of two with one name the own one";
    EXPECT_EQ("remote", Tile("far", "1"));

    EXPECT_EQ("remote", Tile("m", "1"));
    EXPECT_EQ("none", Tile("m", "2")) << "outside the map";
    EXPECT_EQ("localremote", Tiles("m", 2, {"01", "10", "00"})) << "one that fails costs no other";

    m_folder.WriteFile("far\\M\\map.ini", World("LONGITUDE_START", "-90"));
    EXPECT_EQ("remote", Tile("m", "1")) << "until it is updated";
    EXPECT_TRUE(m_provider->UpdateMapLib(true));
    EXPECT_EQ("none", Tile("m", "1")) << "the remote map lies elsewhere";
    m_provider.reset();
    EXPECT_TRUE(deleted);
}

TEST_F(SplitFile, MayBeCalledFromManyThreads) {
    m_folder.WriteFile("m\\map.ini", World("TILE_PATH", "{key}.jpg"));
    m_folder.WriteFile("m\\01.jpg", "tile");
    Open();
    EXPECT_EQ(0, FailuresOf({[this] { return Tile("m", "01") == "tile"; },
                             [this] { return MapText("m") != "none"; }}));
}

TEST(SplitFilePlugin, RegistersItsProviderAndLogsBesideTheLibrary) {
    const TerrascopeTest::LibraryFolder library;
    library.Folder().WriteFile("maps\\n\\map.ini", "");
    EXPECT_NE("", LogOf(library, CSplittedFileTileMapInfoProvider::kName));
}

}  // namespace
