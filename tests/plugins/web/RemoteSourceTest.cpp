// What a local provider is offered that keeps the tiles of a web one.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

#include "plugins/common/kept/RemoteSource.h"
#include "plugins/web/WebTileMapInfoProvider.h"
#include "tests/fixtures/Await.h"
#include "tests/fixtures/ProviderFixture.h"
#include "tests/plugins/db/PmtilesWriter.h"
#include "tests/plugins/web/FaultServer.h"

namespace {

using namespace Terrascope;
using namespace Terrascope::Plugins;
using TerrascopeTest::FaultServer;
using TerrascopeTest::Reply;
using testing::HasSubstr;
using testing::Not;

constexpr char kTime[] = "Sun, 06 Nov 1994 12:49:37 GMT";

std::string Image(const std::string& mark) {
    return "\x89PNG\r\n\x1A\n" + mark;
}

class RemoteSource : public TerrascopeTest::ProviderFixture<CWebTileMapInfoProvider> {
protected:
    ~RemoteSource() override { m_provider.reset(); }  // before its server

    void OpenPath(const std::string& path) { Open(m_server.Address(path)); }
    /// By the interface that a local provider finds.
    IRemoteSource& Source() {
        ITileMapInfoProvider* const provider = m_provider.get();
        return dynamic_cast<IRemoteSource&>(*provider);
    }
    RemoteTile Ask(const std::string& key, const TileFreshness* known = nullptr) {
        return Source().LoadTile("m", static_cast<int>(key.size()), key.c_str(), known);
    }
    static std::string Mark(const RemoteTile& tile) {
        return tile.outcome == RemoteOutcome::Here
                   ? std::string(tile.bytes.begin() + 8, tile.bytes.end())
                   : "outcome " + std::to_string(static_cast<int>(tile.outcome));
    }
    SYSTEMTIME UpdateTime(const char* map) {
        return std::unique_ptr<tagTILE_MAP_INFO>(m_provider->GetMapInfo(map))->stUpdateTime;
    }

    FaultServer m_server;
    bool m_isDeleted = false;
};

TEST_F(RemoteSource, AKeptTileIsAskedForByWhatIsKnownOfIt) {
    const std::string version = "ETag: \"1\"\r\nLast-Modified: " + std::string(kTime) + "\r\n";
    m_server.On("/0", {Reply{200, Image("old"), version + "Cache-Control: max-age=60\r\n"},
                       Reply{304, "", "Cache-Control: max-age=90\r\n"},
                       Reply{200, Image("new"), "Cache-Control: no-store\r\n"},
                       Reply{200, Image("again")}});
    OpenPath("/{q}#name=m");
    const RemoteTile first = Ask("0");
    EXPECT_EQ("old", Mark(first));
    EXPECT_THAT(m_server.LastHead(), Not(HasSubstr("If-")));
    EXPECT_EQ((TileFreshness{true, "\"1\"", kTime, first.freshness.fetched,
                             first.freshness.fetched + 60}),
              first.freshness);
    EXPECT_LT(1'700'000'000, first.freshness.fetched) << "seconds since 1970";

    const RemoteTile second = Ask("0", &first.freshness);
    EXPECT_EQ(RemoteOutcome::NotModified, second.outcome);
    EXPECT_THAT(m_server.LastHead(), HasSubstr("If-None-Match: \"1\"\r\n"));
    EXPECT_THAT(m_server.LastHead(), HasSubstr("If-Modified-Since: " + std::string(kTime) + "\r"));
    EXPECT_EQ("\"1\"", second.freshness.entityTag);
    EXPECT_EQ(second.freshness.fetched + 90, second.freshness.expires);

    const RemoteTile third = Ask("0", &second.freshness);
    EXPECT_EQ("new", Mark(third));
    EXPECT_FALSE(third.freshness.mayBeKept);
    const TileFreshness hostile{true, "\"\r\nX-Evil: 1\"", std::string(5000, 'x'), -1, -1};
    EXPECT_EQ("again", Mark(Ask("0", &hostile)));
    EXPECT_THAT(m_server.LastHead(), Not(testing::AnyOf(HasSubstr("If-"), HasSubstr("Evil"))));
}

TEST_F(RemoteSource, AbsentAndFailedAreTwoThings) {
    m_server.On("/2", Reply{200, "<html>an error</html>"});
    m_server.On("/3", Reply{304});
    m_server.On("/00", Reply{403});
    OpenPath("/{q}#name=m");
    m_provider->m_pRemoteProvider = new Remote(m_isDeleted);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(RemoteOutcome::Absent, Ask("1").outcome);
    }
    EXPECT_EQ(1, m_server.Requests("/1")) << "it is known to be absent";
    EXPECT_EQ(RemoteOutcome::Absent, Source().LoadTile("m", 2, "0", nullptr).outcome);
    const auto state = [] { return HttpFetcher::OfProcess().State().text; };
    EXPECT_EQ(RemoteOutcome::Failed, Ask("2").outcome) << "it is no image";
    EXPECT_EQ(m_server.Address(": it is no image").substr(7), state());
    EXPECT_EQ(RemoteOutcome::Failed, Ask("3").outcome) << "nothing was said to be known";
    EXPECT_EQ(RemoteOutcome::Failed, Ask("00").outcome);
    EXPECT_EQ(RemoteOutcome::Failed, Source().LoadTile("other", 1, "0", nullptr).outcome);
    m_server.On("/0", Reply{.kind = Reply::Silent});
    std::thread leaving([this] {
        EXPECT_TRUE(TerrascopeTest::Await([this] { return m_server.Requests("/0") == 1; }));
        Source().Cancel();
    });
    EXPECT_EQ(RemoteOutcome::Failed, Ask("0").outcome);
    leaving.join();
    EXPECT_EQ(RemoteOutcome::Failed, Ask("1").outcome) << "it is cancelled for good";
}

TEST_F(RemoteSource, MapsAreThereWithoutWaitingOnceADocumentWas) {
    EXPECT_EQ(std::nullopt, Source().MapsNow()) << "no data path";
    OpenPath("/{q}#name=template");
    EXPECT_EQ("template", Source().MapsNow().value().at(0).strName);
    EXPECT_EQ(0, m_server.Requests());

    m_server.On("/d", Reply{403, "", "", Reply::Slow});
    OpenPath("/d");
    EXPECT_EQ(std::nullopt, Source().MapsNow());
    EXPECT_FALSE(m_provider->UpdateMapLib(false));
    EXPECT_EQ(std::nullopt, Source().MapsNow()) << "no reading has succeeded";
    m_server.On("/portal", Reply{200, "<html/>"});
    OpenPath("/portal");
    EXPECT_THAT(MapNames(), testing::IsEmpty());
    EXPECT_THAT(HttpFetcher::OfProcess().State().text, HasSubstr(": it is no WMTS"));
    m_server.On("/d", Reply{304});
    OpenPath("/d");
    EXPECT_FALSE(m_provider->UpdateMapLib(false));
    EXPECT_LE(1, m_log.Count("/d' cannot be had: status 304 without being asked")) << m_log.Text();
    m_server.On("/d", Reply{200, R"({"tilejson":"3.0.0","name":"m","tiles":["{q}"]})"});
    EXPECT_TRUE(m_provider->UpdateMapLib(false));
    EXPECT_EQ(1U, Source().MapsNow().value().size());
    m_server.On("/d", Reply{403});
    EXPECT_FALSE(m_provider->UpdateMapLib(true));
    EXPECT_EQ("m", Source().MapsNow().value().at(0).strName) << "the maps stay";
}

TEST_F(RemoteSource, IdentityIsThatOfTheDataPath) {
    // FNV-1a: kept tiles are found by it again.
    Open("https://example.org/{z}/{x}/{y}.png?key=secret");
    EXPECT_EQ("ca8d0f6372a4ff06", Source().Identity());
    Open(" https://example.org/{z}/{x}/{y}.png?key=secret ");
    EXPECT_EQ("ca8d0f6372a4ff06", Source().Identity());
    Open("https://example.org/{z}/{x}/{y}.png?key=other");
    EXPECT_NE("ca8d0f6372a4ff06", Source().Identity());
    Open("");
    EXPECT_EQ("", Source().Identity()) << "no server";
}

TEST_F(RemoteSource, AMapWithoutATimeIsNeverNewer) {
    const std::string document = R"({"tilejson":"3.0.0","name":"m","tiles":["{q}"]})";
    const std::string time = "Last-Modified: " + std::string(kTime) + "\r\n";
    m_server.On("/timed", Reply{200, "[" + document + ",\"/{q}#name=t\"]", time});
    OpenPath("/timed");
    for (const char* map : {"m", "t"}) {
        const SYSTEMTIME updated = UpdateTime(map);
        EXPECT_EQ(1994, updated.wYear) << map;
        EXPECT_EQ(11, updated.wMonth);
        EXPECT_EQ(6, updated.wDay);
        EXPECT_EQ(37, updated.wSecond);
    }
    m_server.On("/d", {Reply{200, document}, Reply{200, document, "Last-Modified: yesterday\r\n"}});
    OpenPath("/d");
    for (int i = 0; i < 2; ++i) {
        const SYSTEMTIME updated = UpdateTime("m");
        FILETIME asFile{};
        EXPECT_EQ(1970, updated.wYear);
        EXPECT_EQ(0, updated.wSecond);
        EXPECT_TRUE(::SystemTimeToFileTime(&updated, &asFile));
        EXPECT_TRUE(m_provider->UpdateMapLib(false));
    }
}

TEST_F(RemoteSource, ATileOfAnArchiveHasTheFreshnessOfItsRange) {
    auto parts = TerrascopeTest::PmtilesWorld();
    // One tile is in what is kept of the start, the other one far behind.
    parts.tiles = Image("north-west") + std::string(40000, 'x') + Image("south-east");
    parts.root = TerrascopeTest::PmtilesDirectoryBytes({{1, 0, 18, 1}, {3, 40018, 18, 1}});
    parts.leaves.clear();
    parts.metadata = R"({"name":"m"})";
    parts.maxZoom = 1;
    const std::string version =
        "ETag: \"1\"\r\nLast-Modified: " + std::string(kTime) + "\r\nCache-Control: max-age=";
    m_server.On("/a.pmtiles", Reply{200, parts.Bytes(), version + "60\r\n", Reply::Ranges});
    OpenPath("/a.pmtiles");
    EXPECT_EQ(1994, UpdateTime("m").wYear);
    m_server.On("/a.pmtiles", Reply{200, parts.Bytes(), version + "90\r\n", Reply::Ranges});
    for (const auto& [key, mark, lifetime] :
         {std::tuple("0", "north-west", 60), std::tuple("3", "south-east", 90)}) {
        const RemoteTile tile = Ask(key);
        EXPECT_EQ(mark, Mark(tile));
        EXPECT_EQ(lifetime, tile.freshness.expires - tile.freshness.fetched);
        EXPECT_EQ("\"1\"", tile.freshness.entityTag);
    }
    EXPECT_EQ(RemoteOutcome::Absent, Ask("1").outcome);
    m_server.On("/a.pmtiles", Reply{403});
    EXPECT_EQ(RemoteOutcome::Failed, Ask("3").outcome) << "it may be there again later";
    m_server.On("/a.pmtiles", Reply{200, parts.Bytes(), "ETag: \"2\"\r\n", Reply::Ranges});
    EXPECT_EQ(RemoteOutcome::Failed, Ask("3").outcome);
    EXPECT_EQ(1, m_log.Count("the file there is another one now")) << m_log.Text();

    // The first tile cannot be read, by which the map is described.
    parts.root = TerrascopeTest::PmtilesDirectoryBytes({{3, 40018, 18, 1}});
    const Reply whole{200, parts.Bytes(), "", Reply::Ranges};
    m_server.On("/b.pmtiles", {whole, Reply{403}, whole});
    OpenPath("/b.pmtiles");
    EXPECT_THAT(MapNames(), testing::IsEmpty());
    EXPECT_EQ(1, m_log.Count("/b.pmtiles' cannot be had: status 403")) << m_log.Text();
    EXPECT_TRUE(m_provider->UpdateMapLib(false));
    EXPECT_EQ("m png 1-1 2x2..2x2 (-180 -180 360 360) 256x256", MapText("m"));
}

}  // namespace
