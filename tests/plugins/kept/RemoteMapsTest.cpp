#include <cstring>

#include "plugins/db/DBTileMapInfoProvider.h"
#include "plugins/split_file/SplittedFileTileMapInfoProvider.h"
#include "tests/fixtures/ProviderFixture.h"
#include "tests/plugins/kept/KeptFixture.h"

namespace {

using namespace TerrascopeTest;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr char kWeb[] = "Web png 2-3 2x2..4x4 (-90 0 180 180) 256x256";

/// A local provider with a server behind it, both anew with every Open.
template <class TProvider>
class RemoteMapsOf : public ProviderFixture<TProvider> {
protected:
    RemoteMapsOf() { this->m_folder.MakeFolder("data"); }
    ~RemoteMapsOf() override { this->m_provider.reset(); }

    void Open() {
        this->m_provider.reset();
        ProviderFixture<TProvider>::Open(this->m_folder / "data");
        this->m_provider->m_pRemoteProvider = new FakeRemote(m_server);
    }
    /// Sets how the server answers from now on.
    void Answer(RemoteOutcome outcome, const std::string& bytes, std::int64_t expires,
                bool mayBeKept = true) {
        const std::lock_guard lock(m_server.mutex);
        m_server.tile = {outcome,
                         {bytes.begin(), bytes.end()},
                         {mayBeKept, "\"" + bytes + "\"", "", 1, expires}};
    }
    /// The remote's map is another year's, and the maps are updated.
    bool UpdateToNewer(bool flag) {
        {
            const std::lock_guard lock(m_server.mutex);
            m_server.maps = {WebMapInfo("Web", ++m_year)};
        }
        return this->m_provider->UpdateMapLib(flag);
    }
    std::string Asked() {
        const std::lock_guard lock(m_server.mutex);
        return m_server.asked;
    }
    std::string KeptQuery(const std::string& sql) {
        return KeptFixture::Query(this->m_folder / "data\\kept\\Web.mbtiles", sql);
    }
    Server m_server;
    WORD m_year = 2020;
};

using LocalProviders = testing::Types<Terrascope::Plugins::CDBTileMapInfoProvider,
                                      Terrascope::Plugins::CSplittedFileTileMapInfoProvider>;
template <class TProvider>
class RemoteMaps : public RemoteMapsOf<TProvider> {};
TYPED_TEST_SUITE(RemoteMaps, LocalProviders, );

TYPED_TEST(RemoteMaps, AreShownOfflineAsTheyWere) {
    this->Open();
    EXPECT_THAT(this->MapNames(), ElementsAre("Web"));
    EXPECT_EQ("tile", this->Tile("WEB", "03"));
    EXPECT_EQ("none", this->Tile("Web", "22")) << "outside the map";
    this->Open();
    EXPECT_EQ("tile", this->Tile("Web", "03"));
    this->m_server.isUp = false;
    this->Open();
    EXPECT_THAT(this->MapNames(), ElementsAre("Web"));
    EXPECT_EQ(kWeb, this->MapText("web"));
    EXPECT_EQ("tile", this->Tile("Web", "03"));
    EXPECT_EQ("none", this->Tile("Web", "02"));
    EXPECT_EQ("03 02 ", this->Asked());
    this->m_provider.reset();
    // A copy of the file alone, as a map of its own.
    this->m_folder.WriteFile("copy\\c.mbtiles", this->m_folder.ReadFile("data\\kept\\Web.mbtiles"));
    Terrascope::Plugins::CDBTileMapInfoProvider archives;
    archives.SetDataPath((this->m_folder / "copy").c_str());
    const std::unique_ptr<tagTILE_MAP_INFO> map(archives.GetMapInfo("Web"));
    ASSERT_NE(nullptr, map);
    EXPECT_EQ(-90, map->dLongitudeStart);
    EXPECT_NEAR(180, map->dLatitudeStart + map->dLatitude, 1e-9);
    const auto tiles = archives.LoadTiles("Web", 2, {"03"});
    ASSERT_EQ(1U, tiles.size());
    EXPECT_EQ(4U, tiles.front()->stream.GetLength());
    delete tiles.front();
}

TYPED_TEST(RemoteMaps, FollowTheOwnOnesAndFillTheirGaps) {
    // One map of the name and place of the remote one, without tiles in half of it.
    if constexpr (std::is_same_v<TypeParam, Terrascope::Plugins::CDBTileMapInfoProvider>) {
        sqlite3* database = nullptr;
        sqlite3_open((this->m_folder / "data\\web.mbtiles").c_str(), &database);
        EXPECT_EQ(SQLITE_OK,
                  sqlite3_exec(database,
                               "CREATE TABLE tiles (zoom_level, tile_column, tile_row, tile_data);"
                               "CREATE TABLE metadata (name, value);"
                               "INSERT INTO metadata VALUES ('bounds', '-90,0,90,85.0511');"
                               "INSERT INTO tiles VALUES (2, 1, 3, 'own'), (2, 2, 2, '')",
                               nullptr, nullptr, nullptr));
        sqlite3_close(database);
    } else {
        this->m_folder.WriteFile(
            "data\\web\\map.ini",
            "[MAP]\nFIRST_LAYER=2\nLAYER_COUNT=1\nLONGITUDE_START=-90\nLATITUDE_START=0\n"
            "LONGITUDE=180\nLATITUDE=180\nTILE_PATH={key}\n[LAYER_2]\nTILE_COUNT_X=2\n"
            "TILE_COUNT_Y=2\n");
        this->m_folder.WriteFile("data\\web\\00", "own");
    }
    this->m_server.maps = {WebMapInfo("Other"), WebMapInfo("WEB")};
    this->Open();
    EXPECT_THAT(this->MapNames(), ElementsAre("web", "Other"));
    EXPECT_THAT(this->MapText("Web"), HasSubstr(" 2-2 ")) << "the own one";
    EXPECT_EQ("own", this->Tile("web", "00"));
    EXPECT_EQ("tile", this->Tile("web", "03"));
    this->m_server.isUp = false;
    this->Open();
    EXPECT_EQ("tile", this->Tile("web", "03"));
    EXPECT_EQ("03 ", this->Asked());
}

using RemoteMap = RemoteMapsOf<Terrascope::Plugins::CDBTileMapInfoProvider>;

TEST_F(RemoteMap, ShowsAnExpiredTileAndAsksAgain) {
    struct Case {
        RemoteOutcome outcome;
        bool isUp;
        bool mayBeKept;
        const char* later;
        const char* text;
    };
    const Case cases[] = {
        {RemoteOutcome::NotModified, true, true, "old", "still the same"},
        {RemoteOutcome::Here, true, true, "new", "another"},
        {RemoteOutcome::Here, true, false, "none", "another that may not be kept"},
        {RemoteOutcome::NotModified, true, false, "none", "the same, not to be kept any more"},
        {RemoteOutcome::Absent, true, true, "none", "gone"},
        {RemoteOutcome::Here, false, true, "old", "out of reach"},
    };
    for (const Case& c : cases) {
        m_server.isUp = true;
        Answer(RemoteOutcome::Here, "old", 5);  // 1970
        Open();
        EXPECT_TRUE(UpdateToNewer(true)) << c.text;
        EXPECT_EQ("old", Tile("Web", "03")) << c.text;
        Open();
        EXPECT_THAT(MapNames(), ElementsAre("Web"));
        m_server.isUp = c.isUp;
        Answer(c.outcome, "new", kLater, c.mayBeKept);
        m_server.asked.clear();
        EXPECT_EQ("old", Tile("Web", "03")) << c.text;
        EXPECT_TRUE(Await([&] { return Asked() == "03\"old\" "; })) << c.text << Asked();
        m_provider.reset();
        m_server.isUp = false;
        Open();
        EXPECT_EQ(c.later, Tile("Web", "03")) << c.text;
    }
    // One attempt for each tile and minute while the server is out of reach.
    m_provider.reset();
    m_server.isUp = true;
    Answer(RemoteOutcome::Here, "old", 5);
    Open();
    EXPECT_THAT(MapNames(), ElementsAre("Web"));
    EXPECT_EQ("old", Tile("Web", "02"));
    m_server.isUp = false;
    Open();
    m_server.asked.clear();
    EXPECT_EQ("old", Tile("Web", "03"));
    EXPECT_TRUE(Await([&] { return Asked() == "03\"old\" "; })) << Asked();
    EXPECT_EQ("old", Tile("Web", "03"));
    EXPECT_EQ("old", Tile("Web", "02"));
    EXPECT_TRUE(Await([&] { return Asked() == "03\"old\" 02\"old\" "; })) << Asked();
    // By a clock that was days ahead.
    m_server.isUp = true;
    Answer(RemoteOutcome::Here, "old", kLater);
    m_server.tile.freshness.fetched = kLater + std::int64_t{2} * 24 * 3600;
    EXPECT_EQ("old", Tile("Web", "00"));
    EXPECT_EQ("old", Tile("Web", "00"));
    EXPECT_TRUE(Await([&] { return Asked().ends_with(" 00 00\"old\" "); })) << Asked();
}

TEST_F(RemoteMap, StaysWhileOnlyOtherServersAnswer) {
    m_server.maps = {WebMapInfo(), WebMapInfo("Second"), WebMapInfo("Bare")};
    m_server.maps[2].nLayerCount = 0;
    Open();
    EXPECT_THAT(MapNames(), ElementsAre("Web", "Second", "Bare")) << "one has no layers yet";
    m_server.isPartial = true;
    Open();
    const int lists = m_server.lists;
    EXPECT_THAT(MapNames(), ElementsAre("Web", "Second"));
    EXPECT_TRUE(Await([&] { return m_server.lists > lists; }));
    m_provider.reset();
    m_server.isUp = m_server.isPartial = false;
    Open();
    EXPECT_THAT(MapNames(), ElementsAre("Web", "Second"));
    // One that was set up without a server is no hindrance.
    EXPECT_FALSE(m_provider->UpdateMapLib(false));
    m_server.identity = "";
    Open();
    EXPECT_TRUE(m_provider->UpdateMapLib(false));
}

TEST_F(RemoteMap, IsKeptAtTheRightPlaceWhenItChanges) {
    Open();
    EXPECT_EQ("tile", Tile("Web", "03"));
    // More layers: the grid stays, and what describes the file follows.
    m_server.maps[0].nLayerCount = 3;
    EXPECT_TRUE(m_provider->UpdateMapLib(true));
    EXPECT_EQ("tile", Tile("Web", "0333"));
    // Elsewhere, which this display has not seen yet.
    m_server.maps[0].dLongitudeStart = -180;
    EXPECT_EQ("tile", Tile("Web", "02"));
    m_provider.reset();
    EXPECT_EQ("2 4 4 ", KeptQuery("SELECT zoom_level FROM tiles UNION ALL "
                                  "SELECT value FROM metadata WHERE name = 'maxzoom'"));
    // Tiles of another size.
    m_server.maps[0].nTileWidth = 512;
    Open();
    EXPECT_EQ("tile", Tile("Web", "02"));
    m_provider.reset();
    EXPECT_EQ("0 ", KeptQuery("SELECT tile_column FROM tiles"));
}

TEST_F(RemoteMap, OfAnotherMakersProviderIsAskedForByWhoWaits) {
    struct Plain : ITileMapInfoProvider {
        explicit Plain(Server& server) : m_server(server), m_fake(server) {}
        bool UpdateMapLib(bool) override { return true; }
        void SetDataPath(const CString&) override {}
        std::list<tagTILE_MAP_INFO*> GetMapList() override { return m_fake.GetMapList(); }
        tagTILE_MAP_INFO* GetMapInfo(const CString& name) override {
            return m_fake.GetMapInfo(name);
        }
        std::list<tagTILE_MAP_LAYER_INFO*> GetLayerList(const CString& name) override {
            return m_fake.GetLayerList(name);
        }
        tagTILE_MAP_LAYER_INFO* GetLayerInfo(const CString&, int) override { return nullptr; }
        std::list<tagTILE_IMAGE*> LoadTiles(const CString&, int,
                                            const std::list<CString>& keys) override {
            m_server.asked += keys.front().GetString();
            auto* image = m_server.isUp ? new tagTILE_IMAGE : throw 42;
            image->stream.Write("plain", 5);
            return {image};
        }
        Server& m_server;
        FakeRemote m_fake;
    };
    Open();
    delete std::exchange(m_provider->m_pRemoteProvider, new Plain(m_server));
    EXPECT_THAT(MapNames(), ElementsAre("Web"));
    EXPECT_EQ("plain", Tile("Web", "03"));
    EXPECT_EQ("plain", Tile("Web", "03"));
    EXPECT_EQ("03", Asked());
    m_provider.reset();
    KeptQuery("UPDATE kept_tiles SET expires = 5");
    m_server.isUp = false;
    Open();
    delete std::exchange(m_provider->m_pRemoteProvider, new Plain(m_server));
    EXPECT_THAT(MapNames(), ElementsAre("Web"));
    EXPECT_EQ("plain", Tile("Web", "03"));
    EXPECT_EQ("0303", Asked());
    EXPECT_EQ("plain", Tile("Web", "03"));
    EXPECT_EQ("0303", Asked()) << "once in a minute";
}

TEST_F(RemoteMap, IsNotKeptWhereTheServerForbidsIt) {
    Answer(RemoteOutcome::Here, "secret", kLater, false);
    Open();
    EXPECT_EQ(kWeb, MapText("Web"));
    EXPECT_EQ("secret", Tile("Web", "03"));
    EXPECT_EQ("secret", Tile("Web", "03"));
    EXPECT_EQ("03 03 ", Asked());
    m_provider.reset();
    EXPECT_EQ("", m_folder.ReadFile("data\\kept\\Web.mbtiles"));
}

TEST_F(RemoteMap, IsUpdatedAsAWholeOrNotAtAll) {
    Open();
    EXPECT_EQ("tile", Tile("Web", "03"));
    m_server.asked.clear();
    EXPECT_TRUE(m_provider->UpdateMapLib(true));
    EXPECT_EQ("tile", Tile("Web", "03")) << "no newer one";
    EXPECT_TRUE(UpdateToNewer(false));
    EXPECT_EQ("tile", Tile("Web", "03")) << "without the flag";
    EXPECT_EQ("", Asked());
    m_server.isUp = false;
    EXPECT_FALSE(m_provider->UpdateMapLib(true));
    EXPECT_EQ("tile", Tile("Web", "03")) << "out of reach";
    m_server.isUp = true;
    Open();
    EXPECT_THAT(MapNames(), ElementsAre("Web"));
    EXPECT_TRUE(m_provider->UpdateMapLib(true));
    Answer(RemoteOutcome::Here, "newer", kLater);
    EXPECT_EQ("newer", Tile("Web", "03")) << "newer than the kept tiles since the update before";
    Open();
    EXPECT_EQ("newer", Tile("Web", "03")) << "the old one is gone from the file too";
}

TEST_F(RemoteMap, AnswersWhileTheServerDoesNot) {
    Answer(RemoteOutcome::Here, "old", 5);
    Open();
    EXPECT_THAT(MapNames(), ElementsAre("Web"));
    EXPECT_EQ("old", Tile("Web", "03"));
    m_server.hangs = true;
    Open();
    const ULONGLONG start = ::GetTickCount64();
    EXPECT_THAT(MapNames(), ElementsAre("Web"));
    EXPECT_EQ(kWeb, MapText("Web"));
    EXPECT_EQ("old", Tile("Web", "03"));
    EXPECT_TRUE(Await([this] { return m_server.waiting > 0; })) << "asked in the background";
    const ULONGLONG end = ::GetTickCount64();
    m_provider.reset();
    EXPECT_LT(end - start, 5000U);
    EXPECT_LT(::GetTickCount64() - end, 300U) << "the end does not wait for the server";
    // Once the server answers, its word counts.
    Open();
    EXPECT_THAT(MapNames(), ElementsAre("Web"));
    m_server.maps.push_back(WebMapInfo("Second"));
    m_server.hangs = false;
    EXPECT_THAT(MapNames(), ElementsAre("Web", "Second"));
}

TEST_F(RemoteMap, IsReadFromItsDescriptionOnlyWhereThatCanBeOne) {
    Open();
    EXPECT_THAT(MapNames(), ElementsAre("Web"));
    m_provider.reset();
    const std::string path = "data\\kept\\maps-0123456789abcdef.json";
    const std::string good = m_folder.ReadFile(path);
    ASSERT_THAT(good, HasSubstr("\"name\": \"Web\""));
    m_server.isUp = false;
    const std::pair<const char*, const char*> edits[] = {
        {"\"version\": 1", "\"version\": 2"},
        {"\"name\": \"Web\"", "\"name\": 7"},
        {"-90.0", "1e300"},
        {"180.0", "-180.0"},
        {"\"png\"", "5"},
        {"2020", "\"2020\""},
        {"\"layers\": [", "\"layers\": [[31, 1, 1, 1, 1, 1.0],"},
        {"}", ""},
        {"{", "[["}};
    for (const auto& [from, to] : edits) {
        std::string text = good;
        ASSERT_NE(std::string::npos, text.find(from)) << from;
        m_folder.WriteFile(path, text.replace(text.find(from), std::strlen(from), to));
        Open();
        EXPECT_THAT(MapNames(), ElementsAre()) << to;
    }
    m_provider.reset();
    m_folder.WriteFile(path, std::string(100'000, '['));
    Open();
    EXPECT_THAT(MapNames(), ElementsAre());
    m_folder.WriteFile(path, good + std::string(9'000'000, ' '));
    Open();
    EXPECT_THAT(MapNames(), ElementsAre()) << "too long";
    m_folder.WriteFile(path, good);
    Open();
    EXPECT_THAT(MapNames(), ElementsAre("Web"));
}

TEST_F(RemoteMap, IsNotKeptWhereNothingMayBeWritten) {
    m_folder.WriteFile("data\\kept", "a file in the folder's place");
    Open();
    EXPECT_THAT(MapNames(), ElementsAre("Web"));
    EXPECT_EQ("tile", Tile("Web", "03"));
    EXPECT_EQ("tile", Tile("Web", "02"));
    m_provider.reset();
    EXPECT_EQ(1, m_log.Count("kept tiles")) << m_log.Text();
    // No data path.
    m_provider = std::make_unique<Terrascope::Plugins::CDBTileMapInfoProvider>();
    m_provider->m_pRemoteProvider = new FakeRemote(m_server);
    EXPECT_THAT(MapNames(), ElementsAre("Web"));
    // A remote provider with files of its own.
    const std::string archive = m_folder.WriteFile("far.mbtiles", "");
    KeptFixture::Query(archive,
                       "CREATE TABLE tiles (zoom_level, tile_column, tile_row, tile_data);"
                       "INSERT INTO tiles VALUES (1, 0, 1, 'far');");
    m_folder.MakeFolder("other");
    m_provider = std::make_unique<Terrascope::Plugins::CDBTileMapInfoProvider>();
    m_provider->SetDataPath((m_folder / "other").c_str());
    m_provider->m_pRemoteProvider = new Terrascope::Plugins::CDBTileMapInfoProvider;
    m_provider->m_pRemoteProvider->SetDataPath(archive.c_str());
    EXPECT_EQ("far", Tile("far", "0"));
    m_provider.reset();
    EXPECT_EQ(INVALID_FILE_ATTRIBUTES, ::GetFileAttributesA((m_folder / "other\\kept").c_str()));
}

}  // namespace
