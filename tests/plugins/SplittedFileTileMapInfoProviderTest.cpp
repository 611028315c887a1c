#include "plugins/split_file/SplittedFileTileMapInfoProvider.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <thread>

#include "terrascope/providers/TileMapInfoProviderPluginKernel.h"
#include "tests/fixtures/LibraryFolder.h"
#include "tests/fixtures/LogCapture.h"
#include "tests/fixtures/TemporaryFolder.h"

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

class SplitFile : public testing::Test {
protected:
    void Open() { m_provider->SetDataPath(m_folder.Path().c_str()); }

    std::vector<std::string> MapNames() {
        std::vector<std::string> names;
        for (tagTILE_MAP_INFO* record : m_provider->GetMapList()) {
            names.emplace_back(record->strName.GetString());
            delete record;
        }
        return names;
    }
    /// The bytes of the one tile that comes; "none" when none does.
    std::string Tile(const char* map, int layer, const std::string& key) {
        std::string bytes = "none";
        for (tagTILE_IMAGE* tile : m_provider->LoadTiles(map, layer, {CString(key.c_str())})) {
            const auto length = static_cast<std::size_t>(tile->stream.GetLength());
            bytes.assign(reinterpret_cast<const char*>(tile->stream.GetBuffer()), length);
            EXPECT_EQ(key, tile->strKey.GetString());
            delete tile;
        }
        return bytes;
    }

    TerrascopeTest::TemporaryFolder m_folder;
    TerrascopeTest::LogCapture m_log;
    std::unique_ptr<CSplittedFileTileMapInfoProvider> m_provider{
        new CSplittedFileTileMapInfoProvider};
};

TEST_F(SplitFile, ServesAPyramidOfTwoSquares) {
    m_folder.WriteFile("earth\\map.ini", World("NAME", "Relief"));
    m_folder.WriteFile("earth\\0\\000000\\000000_000001.jpg", "east");
    m_folder.WriteFile("earth\\3\\000007\\000007_000015.jpg", "far south-east");
    Open();

    EXPECT_THAT(MapNames(), ElementsAre("Relief"));
    EXPECT_EQ("east", Tile("RELIEF", 1, "1"));
    EXPECT_EQ("far south-east", Tile("Relief", 4, "1333"));
    EXPECT_EQ("none", Tile("Relief", 1, "0")) << "no file";
    EXPECT_EQ("none", Tile("Relief", 1, "2")) << "row 1 of 1";
    const std::unique_ptr<tagTILE_MAP_LAYER_INFO> layer(m_provider->GetLayerInfo("relief", 4));
    ASSERT_NE(nullptr, layer);
    EXPECT_EQ(16, layer->nTileCountX);
    EXPECT_EQ(nullptr, m_provider->GetLayerInfo("relief", 5));
    EXPECT_EQ(nullptr, m_provider->GetMapInfo("earth"));
    EXPECT_EQ("none", Tile("earth", 1, "1"));
    EXPECT_THAT(m_log.Lines(), IsEmpty()) << m_log.Text();
}

TEST_F(SplitFile, ListsUsableMapsByFolderAndNamesTheOthersInTheLog) {
    for (const char* file : {"b\\map.ini", "A\\map.ini", "map.ini"})
        m_folder.WriteFile(file, kWorld);
    m_folder.WriteFile("c\\map.ini", World("NAME", "B"));
    m_folder.WriteFile("d\\map.ini", World("LAYER_COUNT", "2000000000"));
    m_folder.WriteFile("e\\map.ini", std::string(1024 * 1024 + 1, ';'));
    m_folder.MakeFolder("f\\map.ini");
    m_folder.MakeFolder("no map");
    Open();

    EXPECT_THAT(MapNames(), ElementsAre("A", "b"));
    EXPECT_EQ(3u, m_log.Lines().size()) << m_log.Text();
    EXPECT_EQ(1, m_log.Count("c\\map.ini': [MAP] NAME: another map is called 'B'"));
    EXPECT_EQ(1, m_log.Count("d\\map.ini': [MAP] LAYER_COUNT: '2000000000' is not"));
    EXPECT_EQ(1, m_log.Count("e\\map.ini': larger than 1 MiB"));
}

TEST_F(SplitFile, OpensNothingOutsideTheMapsFolder) {
    m_folder.WriteFile("secret", "secret");
    const std::string secret = m_folder.WriteFile("secret.jpg", "secret");
    m_folder.MakeFolder("m\\x");
    for (const std::string& pattern : std::vector<std::string>{
             "..\\secret.jpg", "x\\..\\..\\secret.jpg", "../secret.{format}", ".. \\secret.jpg",
             secret, secret.substr(2), "\\\\?\\" + secret, "{format}", "NUL", ".{format}"}) {
        m_folder.WriteFile("m\\map.ini",
                           World("TILE_PATH", pattern) + "TILE_FORMAT=.\\..\\secret.jpg\n");
        Open();
        EXPECT_EQ("none", Tile("m", 1, "0")) << pattern;
    }
    m_folder.WriteFile("ok\\map.ini", World("TILE_PATH", "{key}"));
    Open();
    for (const char* key : {"..\\secret.jpg", "", "4", "0\\..", "00", "con", "%s"})
        EXPECT_EQ("none", Tile("ok", 1, key)) << key;
    EXPECT_EQ(nullptr, m_provider->GetMapInfo("..\\ok"));
}

TEST_F(SplitFile, AnEmptyOrMonstrousFileIsNoTile) {
    m_folder.WriteFile("m\\map.ini", World("TILE_PATH", "{key}.jpg"));
    m_folder.WriteFile("m\\0.jpg", "");
    std::filesystem::resize_file(m_folder.WriteFile("m\\1.jpg", ""), 64 * 1024 * 1024 + 1);
    m_folder.MakeFolder("m\\00.jpg");
    Open();
    for (const std::string key : {"0", "1", "00"})
        EXPECT_EQ("none", Tile("m", static_cast<int>(key.size()), key)) << key;
}

TEST_F(SplitFile, UpdateMapLibReadsTheFolderAnew) {
    m_folder.MakeFolder("maps");
    m_provider->SetDataPath((m_folder / "maps\\").c_str());
    EXPECT_THAT(MapNames(), IsEmpty());
    m_folder.WriteFile("maps\\new\\map.ini", kWorld);
    EXPECT_TRUE(m_provider->UpdateMapLib(false));
    EXPECT_THAT(MapNames(), ElementsAre("new"));

    CSplittedFileTileMapInfoProvider other;
    EXPECT_FALSE(other.UpdateMapLib(true)) << "no data path";
    other.SetDataPath((m_folder / "nowhere").c_str());
    EXPECT_FALSE(other.UpdateMapLib(true));
    EXPECT_EQ(2, m_log.Count("is not a folder"));
}

TEST_F(SplitFile, AsksTheRemoteProviderForMissingTilesAndDeletesIt) {
    struct Remote : CSplittedFileTileMapInfoProvider {
        explicit Remote(bool& flag) : deleted(flag) {}
        ~Remote() override { deleted = true; }
        bool& deleted;
    };
    TerrascopeTest::TemporaryFolder remoteFolder;
    remoteFolder.WriteFile("m\\map.ini", World("TILE_PATH", "{key}.jpg"));
    for (const char* file : {"m\\0.jpg", "m\\1.jpg"})
        remoteFolder.WriteFile(file, "remote");
    m_folder.WriteFile("m\\map.ini", World("TILE_PATH", "{key}.jpg"));
    m_folder.WriteFile("m\\0.jpg", "local");
    bool deleted = false;
    m_provider->m_pRemoteProvider = new Remote(deleted);
    m_provider->m_pRemoteProvider->SetDataPath(remoteFolder.Path().c_str());
    Open();

    EXPECT_EQ("local", Tile("m", 1, "0"));
    EXPECT_EQ("remote", Tile("m", 1, "1"));
    EXPECT_EQ("none", Tile("m", 2, "00"));
    m_provider.reset();
    EXPECT_TRUE(deleted);
}

TEST_F(SplitFile, MayBeCalledFromManyThreads) {
    m_folder.WriteFile("m\\map.ini", World("TILE_PATH", "{key}.jpg"));
    const char* const keys[] = {"00", "01", "10", "11"};
    for (const std::string key : keys)
        m_folder.WriteFile("m\\" + key + ".jpg", key);
    Open();
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&, t] {
            for (int i = 0; i < 100; ++i) {
                const char* key = keys[(i + t) % 4];
                wrong += Tile("m", 2, key) != key;
                if (i % 10 == t)
                    wrong += !m_provider->UpdateMapLib(true);
                delete m_provider->GetMapInfo("m");
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(0, wrong);
}

TEST(SplitFilePlugin, RegistersItsProviderAndLogsBesideTheLibrary) {
    TerrascopeTest::LibraryFolder library;
    library.AddPlugin("SplittedFileTileMapInfoProvider.dll");
    ASSERT_TRUE(library.LoadPlugins());
    auto& kernel = CTileMapInfoProviderPluginKernel::GetInstance();
    ASSERT_EQ(1u, kernel.GetFactories().size());
    EXPECT_STREQ(CSplittedFileTileMapInfoProvider::kName, kernel.GetFactories()[0]->GetName());

    library.Folder().WriteFile("maps\\m\\map.ini", kWorld);
    library.Folder().WriteFile("maps\\n\\map.ini", "");
    std::unique_ptr<ITileMapInfoProvider> provider(kernel.GetFactories()[0]->Create());
    provider->SetDataPath((library.Folder() / "maps").c_str());
    EXPECT_TRUE(std::unique_ptr<tagTILE_MAP_INFO>(provider->GetMapInfo("M")));

    provider.reset();
    CTileMapInfoProviderPluginKernel::ReleaseInstance();
    const char* log = "log\\SplittedFileTileMapInfoProvider\\SplittedFileTileMapInfoProvider.log";
    EXPECT_TRUE(::DeleteFileA((library.Folder() / log).c_str())) << "written, and closed";
}

}  // namespace
