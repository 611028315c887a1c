#include <gmock/gmock.h>

#include <functional>
#include <map>

#include "plugins/db/PmtilesArchive.h"
#include "tests/plugins/db/ArchiveFixture.h"
#include "tests/plugins/db/PmtilesWriter.h"

namespace {

using namespace TerrascopeTest;
using namespace Terrascope::Plugins;

TEST(PmtilesNumber, FollowsTheCurveThroughEachZoomLevel) {
    // The example of PMTiles 3, and one far down, as other readers number it.
    EXPECT_EQ(2U, PmtilesNumber({1, 0, 1}));
    EXPECT_EQ(19078479U, PmtilesNumber({12, 3423, 1763}));
    EXPECT_EQ(((std::uint64_t{1} << 62) - 1) / 3 - 1, PmtilesNumber({30, (1 << 30) - 1, 0}));
    for (int zoom = 1; zoom <= 5; ++zoom) {
        std::map<std::uint64_t, GridTile> curve;
        for (int x = 0; x < 1 << zoom; ++x) {
            for (int y = 0; y < 1 << zoom; ++y) {
                curve[PmtilesNumber({zoom, x, y})] = {zoom, x, y};
            }
        }
        ASSERT_EQ(std::size_t{1} << 2 * zoom, curve.size()) << "each has its own";
        ASSERT_EQ(PmtilesNumber({zoom, 0, 0}) + curve.size() - 1, curve.rbegin()->first);
        for (auto next = curve.begin(), at = next++; next != curve.end(); at = next++) {
            ASSERT_EQ(1, std::abs(next->second.column - at->second.column) +
                             std::abs(next->second.row - at->second.row))
                << "the next one is a neighbour";
        }
    }
}

class Pmtiles : public ArchiveFixture {
protected:
    void OpenBytes(const std::string& bytes) {
        m_provider.reset();
        m_folder.WriteFile("p.pmtiles", bytes);
        Open();
    }
};

TEST_F(Pmtiles, IsDescribedByItsHeaderAndMetadata) {
    struct Case {
        std::function<void(PmtilesParts&)> change;
        const char* rest = " png 1-3 2x2..8x8 (-180 -180 360 360) 256x256";  ///< behind the name
    };
    const Case cases[] = {
        {[](PmtilesParts&) {}},
        {[](PmtilesParts& p) { p.directoryCode = 0; }},
        {[](PmtilesParts& p) {
             p.typeCode = 3;
             p.minZoom = 2;
             p.maxZoom = 77;
             const std::int32_t alps[] = {50000000, 430000000, 170000000, 480000000};
             std::copy(std::begin(alps), std::end(alps), p.bounds);
         },
         " jpg 2-30 1x1..268435456x268435456 (0 0 90 90) 256x256"},
        {[](PmtilesParts& p) { p.metadata = "{\"name\": \"\xC3\x96tztal\", \"version\": {}}"; }},
        {[](PmtilesParts& p) { p.metadata = "{\"name\": 7, \"description\": null}"; }},
        {[](PmtilesParts& p) { p.metadata = "no JSON"; }},
        {[](PmtilesParts& p) {
             p.tiles.replace(0, 30, "RIFF....WEBPVP8L....\x2F\xFF\xC1\x7F\0....", 30);
             p.root = PmtilesDirectoryBytes({{0, 0, 30, 1}});
             p.typeCode = 0;
         },
         " webp 1-3 2x2..8x8 (-180 -180 360 360) 512x512"},
    };
    for (const Case& one : cases) {
        PmtilesParts parts = PmtilesWorld();
        one.change(parts);
        OpenBytes(parts.Bytes());
        ASSERT_EQ(1U, MapNames().size()) << m_log.Text();
        const std::string name = MapNames()[0];
        EXPECT_EQ(one.rest, MapText(name).substr(name.size()));
        EXPECT_EQ(parts.metadata.find("tztal") != std::string::npos, name != "p") << name;
    }
}

TEST_F(Pmtiles, DeliversTilesOfRootAndLeavesPackedAndPlain) {
    for (const bool isPacked : {false, true}) {
        PmtilesParts parts = PmtilesWorld();
        if (isPacked) {
            parts.directoryCode = 2;
            parts.tileCode = 2;
            const std::string tile = Gzipped("packed");
            const std::string leaf = Gzipped(PmtilesDirectoryBytes({{20, 0, tile.size(), 3}}));
            parts.tiles = tile;
            parts.leaves = leaf;
            parts.root = PmtilesDirectoryBytes({{1, 0, tile.size(), 4}, {20, 0, leaf.size(), 0}});
        }
        OpenBytes(parts.Bytes());
        const std::vector<std::array<const char*, 3>> tiles = {
            {"0", "tile1", "packed"},    {"2", "tile2", "packed"},    {"33", "tile15", "none"},
            {"11", "tile20", "packed"},  {"000", "tile21", "packed"}, {"003", "tile21", "none"},
            {"002", "tile21", "packed"}, {"111", "tile84", "none"},   {"0000", "none", "none"}};
        for (const auto& [key, plain, packed] : tiles) {
            EXPECT_EQ(isPacked ? packed : plain, Tile("p", key)) << key;
        }
    }
}

TEST_F(Pmtiles, IsRefusedWithTheReason) {
    const std::pair<std::function<void(PmtilesParts&)>, const char*> cases[] = {
        {[](PmtilesParts& p) { p.directoryCode = 3; },
         "its directories are compressed with brotli"},
        {[](PmtilesParts& p) { p.directoryCode = 4; }, "its directories are compressed with zstd"},
        {[](PmtilesParts& p) { p.tileCode = 4; }, "its tiles are compressed with zstd"},
        {[](PmtilesParts& p) { p.typeCode = 1; }, "vector tiles"},
        {[](PmtilesParts& p) { p.typeCode = 5; }, "AVIF"},
        {[](PmtilesParts& p) { p.minZoom = 4; }, "no tiles of a zoom level from 1 to 30"},
        {[](PmtilesParts& p) { p.root = PmtilesVarint(1000); }, "root directory"},
        {[](PmtilesParts& p) { p.root = PmtilesVarint(std::uint64_t{1} << 50); }, "root directory"},
        {[](PmtilesParts& p) {
             p.directoryCode = 2;
             p.root = PmtilesVarint(1) + std::string(2 * kLargestDirectory, '\1');
         },
         "root directory"},
        {[](PmtilesParts& p) { p.root += std::string(kLargestDirectory, '0'); }, "root directory"},
    };
    for (const auto& [change, reason] : cases) {
        PmtilesParts parts = PmtilesWorld();
        change(parts);
        const auto before = m_log.Count(reason);
        OpenBytes(parts.Bytes());
        EXPECT_TRUE(MapNames().empty()) << reason;
        EXPECT_EQ(before + 1, m_log.Count(reason)) << m_log.Text();
    }
    for (const std::size_t length : {16U, 48U, 64U}) {  // of the root, the leaves, the tiles
        std::string bytes = PmtilesWorld().Bytes();
        bytes[length + 4] = 3;  // more than 10 GB
        OpenBytes(bytes);
        EXPECT_TRUE(MapNames().empty());
    }
    EXPECT_EQ(3, m_log.Count("shorter than its header states"));
}

TEST_F(Pmtiles, EndsDirectoriesThatLeadInACircleOrAstray) {
    const std::uint64_t beyond = std::uint64_t{1} << 63;
    const std::vector<std::vector<PmtilesLine>> roots = {
        {{0, 0, 5, 0}},                                   // the leaf below: it names itself
        {{0, 0, 4000000000, 0}},                          // longer than the file
        {{0, beyond, 6, 0}, {5, beyond, 4000000000, 1}},  // beyond its end
        {{0, 0, 4000000000, 1}},
        {{0, 0, 10, 1}},
        {{0, ~std::uint64_t{0} - 3, 10, 1}},
        {{100, 0, 5, 1}},
        {},
    };
    for (const auto& lines : roots) {
        PmtilesParts parts = PmtilesWorld();
        parts.leaves = PmtilesDirectoryBytes({{0, 0, 5, 0}});
        ASSERT_EQ(5U, parts.leaves.size());
        parts.tiles = "short";
        parts.root = PmtilesDirectoryBytes(lines);
        OpenBytes(parts.Bytes());
        for (const char* key : {"0", "11", "333"}) {
            EXPECT_EQ("none", Tile("p", key));
        }
    }
}

TEST(PmtilesDirectoryCache, DropsTheDirectoryUsedLongestAgo) {
    const auto directory = std::make_shared<PmtilesDirectory>(100);
    CPmtilesDirectoryCache cache(250 * sizeof(PmtilesEntry));
    cache.Keep(1, directory);
    cache.Keep(2, directory);
    EXPECT_NE(nullptr, cache.Find(1));
    cache.Keep(3, directory);
    EXPECT_EQ(nullptr, cache.Find(2));
    EXPECT_NE(nullptr, cache.Find(1));
    cache.Keep(4, std::make_shared<PmtilesDirectory>(300));
    EXPECT_EQ(0U, cache.Size()) << "one larger than all may be is not kept";
}

}  // namespace
