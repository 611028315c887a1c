#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <set>
#include <thread>

#include "plugins/web/WebSettings.h"
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
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;

/// A capabilities document: matrices as "name columns rows denominator corner", layers as they are.
std::string Capabilities(const std::string& crs,
                         const std::vector<std::array<std::string, 5>>& matrices,
                         const std::string& layers) {
    std::string text =
        "<?xml version=\"1.0\"?><Capabilities xmlns:ows=\"o\" xmlns:xlink=\"x\">"
        "<ows:ServiceProvider><ows:ProviderName>Survey</ows:ProviderName>"
        "</ows:ServiceProvider><ows:OperationsMetadata><ows:Operation name=\"GetTile\">"
        "<ows:DCP><ows:HTTP><ows:Get xlink:href=\"/kvp?map=1&amp;\"/></ows:HTTP>"
        "</ows:DCP></ows:Operation></ows:OperationsMetadata><Contents>" +
        layers +
        "<TileMatrixSet><ows:Identifier>set 1</ows:Identifier>"
        "<ows:SupportedCRS>" +
        crs + "</ows:SupportedCRS>";
    for (const auto& [name, columns, rows, denominator, corner] : matrices) {
        text += "<TileMatrix><ows:Identifier>" + name + "</ows:Identifier><ScaleDenominator>" +
                denominator + "</ScaleDenominator><TopLeftCorner>" + corner +
                "</TopLeftCorner><TileWidth>256</TileWidth><TileHeight>256</TileHeight>"
                "<MatrixWidth>" +
                columns + "</MatrixWidth><MatrixHeight>" + rows + "</MatrixHeight></TileMatrix>";
    }
    return text + "</TileMatrixSet></Contents></Capabilities>";
}

/// A layer of the capabilities.
std::string Layer(const std::string& name, const std::string& rest) {
    return "<Layer><ows:Title>" + name + "</ows:Title><ows:Identifier>" + name +
           "</ows:Identifier><Style isDefault=\"true\"><ows:Identifier>plain</ows:Identifier>"
           "</Style><TileMatrixSetLink><TileMatrixSet>set 1</TileMatrixSet></TileMatrixSetLink>" +
           rest + "</Layer>";
}

/// As much of a PNG as tells that it is one; `mark` makes them differ.
std::string Image(const std::string& mark) {
    return "\x89PNG\r\n\x1A\n" + mark;
}

class WebMaps : public TerrascopeTest::ProviderFixture<CWebTileMapInfoProvider> {
protected:
    ~WebMaps() override { m_provider.reset(); }  // before its server

    std::vector<std::string> Open(const std::string& dataPath) {
        ProviderFixture::Open(dataPath);
        return MapNames();
    }
    std::vector<std::string> OpenPath(const std::string& path) {
        return Open(m_server.Address(path));
    }
    /// What the tile's image was marked with; "none" when none comes.
    std::string Tile(const std::string& map, const std::string& key) {
        const std::string bytes = ProviderFixture::Tile(map, key);
        return bytes.size() > 8 ? bytes.substr(8) : "none";
    }
    /// Each document is no map, for the reason that the log has.
    template <class TDocuments>
    void ExpectNoMaps(const TDocuments& documents) {
        for (const auto& [document, reason] : documents) {
            const std::string path = "/" + std::to_string(m_log.Lines().size());
            m_server.On(path + "?key=secret", Reply{200, document});
            EXPECT_THAT(OpenPath(path + "?key=secret"), IsEmpty()) << document;
            EXPECT_EQ(1, m_log.Count(path + "': ")) << m_log.Text();
            EXPECT_THAT(m_log.Lines().back(), HasSubstr(reason)) << document;
        }
    }

    FaultServer m_server;
};

TEST_F(WebMaps, ATemplateIsAMapWithoutAskingTheServer) {
    m_server.On("/3/6/2.png?key=secret", Reply{200, Image("row 2 of 8")});
    EXPECT_THAT(OpenPath("/{z}/{x}/{y}.png?key=secret#name=Our%20map&minzoom=2&maxzoom=5"
                         "&bounds=0,0,180,85.06&tilesize=512&attribution=%26copy%3B%20us&odd=1"),
                ElementsAre("Our map"));
    EXPECT_EQ(0, m_server.Requests());
    EXPECT_EQ("Our map png 2-5 2x2..16x16 (0 0 180 180) 512x512", MapText("our MAP"));
    EXPECT_THAT(Remark("Our map"), HasSubstr("Web Mercator"));
    EXPECT_THAT(Remark("Our map"), testing::EndsWith("us"));
    // The map's column 2 and row 2 of layer 3: its corner is column 4, row 0 of the world.
    EXPECT_EQ("row 2 of 8", Tile("Our map", "030"));
    EXPECT_EQ("none", Tile("Our map", "000")) << "absent";
    EXPECT_EQ("none", Tile("Our map", "330")) << "beyond the map";
    EXPECT_EQ(2, m_server.Requests());
    EXPECT_EQ(0, m_log.Count("secret")) << m_log.Text();
}

TEST_F(WebMaps, ATileJsonDocumentIsAMap) {
    m_server.On("/maps/tiles.json",
                Reply{200, R"({"tilejson": "3.0.0", "name": "R<i>elief</i>", "unknown": {"a": [1]},
                   "tiles": [7, "{z}-{x}-{y}", "/other/{z}/{x}/{y}.jpg"], "scheme": "tms",
                   "minzoom": 0, "maxzoom": 3, "bounds": [170, 0, -170, 10], "center": "no",
                   "description": "Land\nand sea",
                   "attribution": "<a href=\"http://x\">&copy; Somebody &amp; Co</a>"})"});
    m_server.On("/other/1/0/0.jpg", Reply{200, Image("south-west")});
    m_server.On("/maps/1-0-1", Reply{200, Image("north-west")});

    EXPECT_THAT(OpenPath("/maps/tiles.json"), ElementsAre("Relief"));
    EXPECT_EQ("Relief png 1-3 2x2..8x8 (-180 -180 360 360) 256x256", MapText("Relief"))
        << "bounds that wrap count as absent";
    EXPECT_THAT(Remark("Relief"), testing::StartsWith("Land and sea Web Mercator"));
    EXPECT_THAT(Remark("Relief"), testing::EndsWith(" Somebody & Co"));
    EXPECT_EQ("south-west", Tile("relief", "2"));
    EXPECT_EQ("north-west", Tile("relief", "0"));
    const int before = m_server.Requests();
    EXPECT_THAT(OpenPath("/maps/tiles.json"), ElementsAre("Relief"));
    EXPECT_EQ(before, m_server.Requests()) << "the next display finds what was read";
    m_server.On("/maps/tiles.json", Reply{200, R"({"tilejson":"2.2.0","tiles":["{q}"]})"});
    EXPECT_TRUE(m_provider->UpdateMapLib(false));
    EXPECT_THAT(MapNames(), ElementsAre("127.0.0.1"));
    m_server.On("/maps/tiles.json", Reply{500});
    EXPECT_FALSE(m_provider->UpdateMapLib(false));
    EXPECT_THAT(MapNames(), ElementsAre("127.0.0.1")) << "the maps stay";
}

TEST_F(WebMaps, WhatIsNoMapIsNamedInTheLog) {
    const std::pair<const char*, const char*> documents[] = {
        {"{\"tilejson\":\"3.0.0\"}", "'tiles' is missing"},
        {"{\"tilejson\":3,\"tiles\":[\"{q}\"]}", "'tilejson' or"},
        {"{\"tilejson\":\"3.0.0\",\"tiles\":[]}", "it is empty"},
        {"{\"tilejson\":\"3.0.0\",\"tiles\":[\"{z}/{y}\"]}", "does not name each tile"},
        {"{\"tilejson\":\"3.0.0\",\"tiles\":[\"{z}{x}{y}{q\"]}", "a '{' without a '}'"},
        {"{\"tilejson\":\"3.0.0\",\"tiles\":[\"{z}{x}{y}{f}\"]}", "unknown field '{f}'"},
        {"{\"tilejson\":\"3.0.0\",\"tiles\":[\"{q}?k={secret}\"]}", "an unknown field"},
        {"{\"tilejson\":\"3.0.0\",\"tiles\":[\"file:///{q}\"]}", "no address of http"},
        {"{\"tilejson\":\"3.0.0\",\"tiles\":[\"{q}\"],\"vector_layers\":[{}]}", "vector data"},
        {"{\"tilejson\":\"3.0.0\",\"tiles\":[\"{q}\"],\"minzoom\":9,\"maxzoom\":8}", "zoom level"},
        {"{\"tilejson\":\"3.0.0\",\"tiles\":[\"{q}\"],\"minzoom\":\"x\"", "no document"},
        {"<html>", "no well-formed XML"},
        {"", "no document"},
    };
    ExpectNoMaps(documents);
    m_server.On("/deep", Reply{200, std::string(1000000, '[')});
    EXPECT_THAT(OpenPath("/deep"), IsEmpty());
    EXPECT_THAT(OpenPath("/absent"), IsEmpty());
    for (const char* path : {"C:\\maps", "http://", "{z}{x}{y}", "http://h/{z}/{x}", "#", "\x81"}) {
        EXPECT_THAT(Open(path), IsEmpty()) << path;
    }
    EXPECT_EQ(0, m_log.Count("secret")) << m_log.Text();
}

TEST_F(WebMaps, NobodyWaitsForADocumentThatDoesNotCome) {
    m_server.On("/hangs", Reply{.kind = Reply::Silent});
    m_provider = std::make_unique<CWebTileMapInfoProvider>();
    const ULONGLONG start = ::GetTickCount64();
    m_provider->SetDataPath(m_server.Address("/hangs").c_str());
    EXPECT_GT(300U, ::GetTickCount64() - start);
    std::thread leaving([this] {
        EXPECT_TRUE(TerrascopeTest::Await([this] { return m_server.Requests() == 1; }));
        m_provider->Cancel();
    });
    EXPECT_THAT(MapNames(), IsEmpty());
    EXPECT_FALSE(m_provider->UpdateMapLib(true));
    leaving.join();
    EXPECT_GT(1000U, ::GetTickCount64() - start);
}

TEST_F(WebMaps, WhatIsNoImageIsNoTile) {
    for (const char* page : {"<html>an error</html>", "\x1F\x8B packed", "text", ""}) {
        m_server.On("/0", Reply{200, page});
        OpenPath("/{q}");
        EXPECT_EQ("none", Tile("127.0.0.1", "0")) << page;
    }
    m_server.On("/0", Reply{200, "\xFF\xD8\xFF\xE0 a JPEG"});
    EXPECT_EQ("PEG", Tile("127.0.0.1", "0"));
}

TEST(TileAddressTemplate, NumbersATileAsItsServerDoes) {
    const auto expand = [](const char* pattern, int zoom, std::uint32_t column, std::uint32_t row) {
        std::string reason;
        const auto parsed = TileAddressTemplate::Parse(pattern, nullptr, reason);
        const PyramidTile tile{column, row, (1U << zoom) - 1 - row};
        return parsed ? parsed->Expand(zoom, tile)->Text() : reason;
    };
    // Rows from the south: the worked example of MBTiles 1.3.
    EXPECT_EQ("http://h/11/327/1256", expand("http://h/{z}/{x}/{-y}", 11, 327, 791));
    EXPECT_EQ("http://h/t213.png", expand("http://h/t{q}.png", 3, 3, 5));
    EXPECT_EQ("https://h/3/3/5.png?k=%7D", expand("https://h/{z}/{x}/{y}{r}.png?k=}", 3, 3, 5));
    EXPECT_THAT(expand("http://h/{z}/{x}/{y}/{t}", 1, 0, 0), HasSubstr("{t}"));
    EXPECT_THAT(expand("http://{q}", 1, 0, 0), HasSubstr("http://0/"));
    std::set<std::string> hosts;
    for (std::uint32_t i = 0; i < 64; ++i) {
        const std::string address = expand("http://{a-d}.h/{q}", 3, i % 8, i / 8);
        EXPECT_EQ(address, expand("http://{a-d}.h/{q}", 3, i % 8, i / 8));
        hosts.insert(address.substr(7, 1));
    }
    EXPECT_THAT(hosts, ElementsAre("a", "b", "c", "d"));
}

TEST(WebSettings, HeadersComeFromTheSettings) {
    const TerrascopeTest::TemporaryFolder folder;
    const TerrascopeTest::LogCapture log;
    const std::string file = folder.WriteFile("Terrascope.ini",
                                              "[WebTileMapInfoProvider]\nHEADER_1=X-Key: a b\n"
                                              "HEADER_2=no header\nHEADER_9=Authorization:x:y\n"
                                              "HEADER_3=Bad Name: x\nHEADER_4=A: secr\xC3\xA9t\n");
    HttpIdentity identity = ReadIdentity(file.c_str(), true);
    EXPECT_TRUE(identity.onlySecure);
    EXPECT_THAT(identity.headers,
                ElementsAre(Pair("User-Agent", testing::StartsWith("Terrascope/1")),
                            Pair("X-Key", "a b"), Pair("Authorization", "x:y")));
    EXPECT_EQ(3, log.Count("is not used")) << log.Text();
    EXPECT_EQ(0, log.Count("secr"));
    folder.WriteFile("Terrascope.ini", "[WebTileMapInfoProvider]\nUSER_AGENT=Our host/2\n");
    EXPECT_THAT(ReadIdentity(file.c_str(), false).headers,
                ElementsAre(Pair("User-Agent", "Our host/2")));
}

TEST_F(WebMaps, AnAbsentTileIsAskedOfTheRemoteProvider) {
    FaultServer other;
    other.On("/1/0", Reply{200, Image("remote")});
    OpenPath("/{q}#name=both");
    auto* remote = new CWebTileMapInfoProvider;
    remote->SetDataPath(other.Address("/1/{q}#name=both").c_str());
    m_provider->m_pRemoteProvider = remote;
    EXPECT_EQ("remote", Tile("both", "0"));
    EXPECT_EQ("none", Tile("both", "1"));
}

TEST_F(WebMaps, AListHasTheMapsOfItsDocuments) {
    const std::string one = R"({"tilejson":"3.0.0","name":"one","tiles":["/one/{q}"]})";
    m_server.On("/list/all.json", Reply{200, "[\"a.json\", " + one +
                                                 ", \"/t/{z}/{x}/{y}#name=two\", 5, \"down\", "
                                                 "\"all.json\", \"file:///x\", \"ONE.json\"]"});
    m_server.On("/list/a.json", Reply{200, R"({"tilejson":"3.0.0","name":"a","tiles":["x{q}"]})"});
    m_server.On("/list/ONE.json", Reply{200, R"({"tilejson":"2","name":"ONE","tiles":["o{q}"]})"});
    m_server.On("/list/x3", Reply{200, Image("south-east")});
    m_server.On("/t/1/1/1", Reply{200, Image("by template")});

    EXPECT_THAT(OpenPath("/list/all.json"), ElementsAre("a", "one", "two", "ONE (2)"));
    EXPECT_EQ("south-east", Tile("a", "3"));
    EXPECT_EQ("by template", Tile("two", "3"));
    EXPECT_EQ(1, m_log.Count("/list/down' cannot be had")) << m_log.Text();
    EXPECT_EQ(2, m_log.Count("/list/all.json': it is no TileJSON")) << "5, and itself";
    EXPECT_EQ(1, m_log.Count("'file:///x': it is no address"));
}

TEST_F(WebMaps, APmtilesArchiveIsReadInRanges) {
    auto parts = TerrascopeTest::PmtilesWorld();
    // Tiles that are images, far behind what is kept of the start.
    parts.tiles.assign(40000, 'x');
    parts.tiles += Image("north-west") + Image("south-east");
    parts.root = TerrascopeTest::PmtilesDirectoryBytes({{1, 40000, 18, 1}, {3, 40018, 18, 1}});
    parts.leaves.clear();
    parts.metadata = R"({"name":"Packed","attribution":"Us"})";
    parts.maxZoom = 1;
    parts.bounds[0] = parts.bounds[1] = -850'000'000;
    parts.bounds[2] = parts.bounds[3] = 850'000'000;
    m_server.On("/a.PMTILES?key=secret", Reply{200, parts.Bytes(), "", Reply::Ranges});
    EXPECT_THAT(OpenPath("/a.PMTILES?key=secret#attribution=You"), ElementsAre("Packed"));
    EXPECT_EQ("Packed png 1-1 2x2..2x2 (-180 -180 360 360) 256x256", MapText("Packed"));
    EXPECT_THAT(Remark("Packed"), testing::EndsWith("scale.\nYou"));
    const int before = m_server.Requests();
    EXPECT_EQ("north-west", Tile("Packed", "0"));
    EXPECT_EQ("south-east", Tile("Packed", "3"));
    EXPECT_EQ("none", Tile("Packed", "1"));
    EXPECT_EQ(before + 2, m_server.Requests()) << "one range for each tile that is there";

    m_server.On("/no.pmtiles", Reply{200, std::string(500, 'x'), "", Reply::Ranges});
    EXPECT_THAT(OpenPath("/no.pmtiles"), IsEmpty());
    EXPECT_EQ(1, m_log.Count("/no.pmtiles': it is not of version 3")) << m_log.Text();
    m_server.On("/all.pmtiles", Reply{200, parts.Bytes()});
    EXPECT_THAT(OpenPath("/all.pmtiles"), IsEmpty());
    EXPECT_EQ(1, m_log.Count("/all.pmtiles' cannot be had: its server delivers no ranges"));
    EXPECT_EQ(0, m_log.Count("secret")) << m_log.Text();
}

TEST_F(WebMaps, WmtsLayersAreMaps) {
    const std::string half = "20037508.342789244";
    const std::string corner = "-" + half + " " + half;
    const std::string rest =
        "<ows:WGS84BoundingBox><ows:LowerCorner>1 1</ows:LowerCorner>"
        "<ows:UpperCorner>170 80</ows:UpperCorner></ows:WGS84BoundingBox>";
    m_server.On("/wmts.xml",
                Reply{200, Capabilities(
                               "urn:ogc:def:crs:EPSG::3857",
                               {{"L2", "4", "4", "139770566.0071794", corner},
                                {"L0", "1", "1", "559082264.0287178", corner},
                                {"L1", "2", "2", "279541132.0143589", corner},
                                {"odd", "9", "9", "100000000", corner}},
                               Layer("a b", rest + "<Format>text/html</Format><Format>image/webp"
                                                   "</Format><Format>image/jpeg</Format>") +
                                   Layer("rest",
                                         "<Format>image/png</Format><Dimension><ows:Identifier>Time"
                                         "</ows:Identifier><Default>now</Default></Dimension>"
                                         "<ResourceURL format=\"image/png\" resourceType=\"tile\" "
                                         "template=\"" +
                                             m_server.Address("/{Time}/{style}/{TileMatrixSet}/"
                                                              "{TileMatrix}-{TileCol}-{TileRow}") +
                                             "\"/>") +
                                   Layer("vector", "<Format>application/pbf</Format>"))});
    m_server.On(
        "/kvp?map=1&&service=WMTS&request=GetTile&version=1.0.0&layer=a%20b&style=plain"
        "&tilematrixset=set%201&format=image%2Fjpeg&tilematrix=L2&tilerow=0&tilecol=3",
        Reply{200, Image("by key and value")});
    m_server.On("/now/plain/set%201/L1-0-1", Reply{200, Image("by template")});

    EXPECT_THAT(OpenPath("/wmts.xml"), ElementsAre("a b", "rest"));
    EXPECT_EQ(1, m_log.Count("layer 'vector': its tiles have no format")) << m_log.Text();
    EXPECT_EQ("a b jpeg 1-2 1x1..2x2 (0 0 180 180) 256x256", MapText("a b"))
        << "to the matrix that does not halve";
    EXPECT_THAT(Remark("a b"), testing::EndsWith("scale.\nSurvey"));
    EXPECT_EQ("by key and value", Tile("a b", "01"));
    EXPECT_EQ("by template", Tile("rest", "2"));
}

TEST_F(WebMaps, WmtsOfTheWorldEndsAtTheWorldsEdges) {
    const std::string layer = Layer("m", "<Format>image/png</Format>");
    const struct {
        const char *crs, *columns, *denominator, *corner;
        double left, bottom, width, height;
    } cases[] = {
        {"EPSG:3857", "2", "279541132.0143588", "-20037508.34 20037508.342789", -180, -180, 360,
         360},
        {"EPSG:3857", "4", "139770566.0071795", "-20037508.342789 20037508.3427892", -180, -180,
         360, 360},
        {"CRS84", "4", "139770566.00718", "-180.0000001 90", -180, -90, 360, 180},
        // Half a pixel beside the grid is where the server wants it.
        {"CRS84", "4", "139770566.0071794", "-179.5 90", -179.5, -90, 360, 180},
    };
    for (const auto& [crs, columns, denominator, corner, left, bottom, width, height] : cases) {
        const std::string rows = width == height ? columns : "2";
        const std::string path = std::string("/") + denominator + corner[3];
        m_server.On(path, Reply{200, Capabilities(crs, {{"0", columns, rows, denominator, corner}},
                                                  layer)});
        EXPECT_THAT(OpenPath(path), ElementsAre("m"));
        const std::unique_ptr<tagTILE_MAP_INFO> map(m_provider->GetMapInfo("m"));
        const double off = left == -180 ? 0 : 1e-9;
        EXPECT_NEAR(left, map->dLongitudeStart, off) << corner;
        EXPECT_NEAR(bottom, map->dLatitudeStart, off) << corner;
        EXPECT_NEAR(width, map->dLongitude, off) << corner;
        EXPECT_NEAR(height, map->dLatitude, off) << corner;
    }
}

TEST_F(WebMaps, WmtsInDegreesAndWhatIsNoneOfIts) {
    const std::string layer = Layer("m", "<Format>image/png</Format>");
    const std::vector<std::array<std::string, 5>> world = {
        {"0", "2", "1", "279541132.0143589", "90 -180"},
        {"1", "4", "2", "139770566.0071794", "90 -180"}};
    const std::vector<std::array<std::string, 5>> uneven = {{"0", "2", "1", "279541132", "-180 90"},
                                                            {"1", "6", "3", "93180377", "-180 90"}};
    const std::string kDegrees = "urn:ogc:def:crs:EPSG::4326";
    m_server.On("/ok", Reply{200, Capabilities(kDegrees, world, layer)});
    EXPECT_THAT(OpenPath("/ok"), ElementsAre("m"));
    EXPECT_EQ("m png 1-2 2x1..4x2 (-180 -90 360 180) 256x256", MapText("m"));

    std::string deep;
    for (int i = 0; i < 5000; ++i) {
        deep += "<a>";
    }
    const std::pair<std::string, const char*> documents[] = {
        {Capabilities(kDegrees, uneven, layer), "does not halve"},
        {Capabilities("urn:ogc:def:crs:EPSG::31467", world, layer), "neither web Mercator"},
        {Capabilities(kDegrees, {}, layer), "no matrix that can be used"},
        {Capabilities(kDegrees, {{"0", "-1", "1", "0", "x"}}, layer), "no matrix that can be used"},
        {"<!DOCTYPE a [<!ENTITY b \"c\">]><a>&b;</a>", "no well-formed XML"},
        {"<a><b></a>", "no well-formed XML"},
        {deep, "no well-formed XML"},
        {"<html/>", "no WMTS"}};
    ExpectNoMaps(documents);
}

}  // namespace
