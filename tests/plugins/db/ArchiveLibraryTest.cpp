#include <gmock/gmock.h>

#include <filesystem>
#include <random>

#include "plugins/common/PlainText.h"
#include "plugins/common/sqlite/Sqlite.h"
#include "plugins/db/TileTable.h"
#include "tests/fixtures/Await.h"
#include "tests/fixtures/LibraryFolder.h"
#include "tests/plugins/db/ArchiveFixture.h"
#include "tests/plugins/db/PmtilesWriter.h"

namespace {

using namespace TerrascopeTest;
using namespace Terrascope;
using namespace Terrascope::Plugins;
using testing::ElementsAre;
using testing::HasSubstr;

class ArchiveLibrary : public ArchiveFixture {
protected:
    bool VanishesFrom(const char* map, const char* key) {
        return Await([&] { return Tile(map, key) == "none"; });
    }
};

TEST_F(ArchiveLibrary, IsAFolderOfArchivesThatTheirFirstBytesAnnounce) {
    Execute("b.txt", MbtilesSql(1, 1, 0, 1, Metadata("name", "World")));
    Execute("c.mbtiles", MbtilesSql(1, 1, 0, 1, Metadata("name", "WORLD")));
    Execute("d.mbtiles", MbtilesSql(1, 1, 0, 1, Metadata("format", "pbf")));
    Execute("e.gpkg", "CREATE TABLE people (name TEXT); INSERT INTO people VALUES ('x')");
    Execute("f.mbtiles", MbtilesSql(0, 0, 0, 0));
    m_folder.WriteFile("a.mbtiles", PmtilesWorld().Bytes());
    m_folder.WriteFile("g.pmtiles", "PMTiles\x02 or what not");
    m_folder.WriteFile("h.zip", "PK and so on and so on");
    m_folder.WriteFile("i.mbtiles", "");
    m_folder.WriteFile("b.txt-wal", "");
    std::filesystem::copy_file(m_folder / "b.txt", m_folder / "sub");
    std::filesystem::remove(m_folder / "sub");
    m_folder.MakeFolder("sub");
    std::filesystem::copy_file(m_folder / "b.txt", m_folder / "sub\\s.mbtiles");
    Open();

    EXPECT_THAT(MapNames(), ElementsAre("a", "World", "WORLD (c.mbtiles)"));
    EXPECT_EQ("tile3", Tile("A", "3"));
    EXPECT_EQ("1/1/0", Tile("world (C.MBtiles)", "3"));
    EXPECT_EQ(6U, m_log.Lines().size()) << m_log.Text();
    for (const char* line : {"d.mbtiles': it has vector tiles", "e.gpkg': no such table: tiles",
                             "f.mbtiles': it has no tiles of a zoom level from 1 to 30",
                             "g.pmtiles': it is shorter than its header",
                             "h.zip': it is neither MBTiles nor GeoPackage nor PMTiles",
                             "i.mbtiles': it is neither"}) {
        EXPECT_EQ(1, m_log.Count(line)) << line << "\n" << m_log.Text();
    }
    Open("c.mbtiles");
    EXPECT_THAT(MapNames(), ElementsAre("WORLD")) << "a file alone";
}

TEST_F(ArchiveLibrary, ShowsTextsInTheActiveCodePage) {
    Execute("t.mbtiles",
            MbtilesSql(1, 1, 0, 1,
                       Metadata("name", "\xE5\x9C\xB0\xE5\x9B\xBE\x07\xF0\x9F\x8C\x8D") +
                           Metadata("description", "One <b>bold</b>\n\n  line &amp; more") +
                           Metadata("attribution",
                                    "<a href=\"https://x.example/?a=1&b=2\">&copy;&nbsp;X</a> "
                                    "&#60;&#x41;&unknown; <br>Y<script")));
    Open();
    ASSERT_EQ(1U, MapNames().size());
    const std::string name = MapNames()[0];
    if (HasTwoByteCharacters()) {
        EXPECT_EQ("\xB5\xD8\xCD\xBC ??", name);
    }
    EXPECT_EQ("1/0/1", Tile(name, "0")) << "the name is a key whatever became of it";
    std::string remark = Remark(name);
    remark.erase(0, remark.find('\n') + 1);
    EXPECT_THAT(Remark(name), testing::StartsWith("One bold line & more Web Mercator: "));
    EXPECT_THAT(remark, testing::EndsWith("X <A&unknown; Y"));
    EXPECT_EQ("&#1114112; &", TextOfHtml(" &#1114112; &<"));
}

TEST_F(ArchiveLibrary, HasNoTilesOfAFileThatBecameAnother) {
    Execute("other", MbtilesSql(1, 1, 0, 1, Metadata("name", "Other")) +
                         "UPDATE tiles SET tile_data = 'foreign'");
    for (const bool isSqlite : {true, false}) {
        const std::string file = isSqlite ? "m.mbtiles" : "m.pmtiles";
        const auto make = [&] {
            m_provider.reset();
            std::filesystem::remove(m_folder / file);
            if (isSqlite) {
                Execute(file, MbtilesSql(1, 1, 0, 1, Metadata("name", "m")));
            } else {
                m_folder.WriteFile(file, PmtilesWorld().Bytes());
            }
            Open(file);
            EXPECT_NE("none", Tile("m", "0"));
        };
        const auto expectOther = [&] {
            EXPECT_TRUE(VanishesFrom("m", "0"));
            EXPECT_TRUE(m_provider->UpdateMapLib(true));
            EXPECT_EQ("foreign", Tile("Other", "0"));
        };
        const std::string path = m_folder / file;

        make();
        EXPECT_TRUE(::MoveFileA(path.c_str(), (path + ".old").c_str())) << "while it is open";
        EXPECT_TRUE(VanishesFrom("m", "0"));
        EXPECT_FALSE(m_provider->UpdateMapLib(true)) << "neither a file nor a folder";
        EXPECT_EQ("none", Tile("m", "0"));
        EXPECT_TRUE(::DeleteFileA((path + ".old").c_str()));

        make();
        EXPECT_TRUE(::MoveFileA(path.c_str(), (path + ".old").c_str()));
        EXPECT_TRUE(::CopyFileA((m_folder / "other").c_str(), path.c_str(), TRUE));
        expectOther();
        std::filesystem::remove(path + ".old");

        make();  // other bytes in the same file
        m_folder.WriteFile(file, m_folder.ReadFile("other"));
        expectOther();

        make();
        std::filesystem::resize_file(path, 1100);
        EXPECT_TRUE(VanishesFrom("m", "3"));
    }
}

TEST_F(ArchiveLibrary, WaitsAShortTimeForAWriterAndSeesWhatItWrote) {
    Execute("m.mbtiles", MbtilesSql(1, 1, 0, 1));
    Open();
    sqlite3* writer = nullptr;
    ASSERT_EQ(SQLITE_OK, sqlite3_open((m_folder / "m.mbtiles").c_str(), &writer));
    const auto run = [&](const char* sql) {
        EXPECT_EQ(SQLITE_OK, sqlite3_exec(writer, sql, nullptr, nullptr, nullptr)) << sql;
    };
    run("BEGIN EXCLUSIVE; UPDATE tiles SET tile_data = 'new'");
    const ULONGLONG start = ::GetTickCount64();
    EXPECT_EQ("none", Tile("m", "0"));
    const ULONGLONG waited = ::GetTickCount64() - start;
    EXPECT_GE(waited, 200U);
    EXPECT_LE(waited, 1500U);
    run("ROLLBACK");
    EXPECT_EQ("1/0/1", Tile("m", "0"));
    run("UPDATE tiles SET tile_data = 'new' WHERE tile_row = 1");
    EXPECT_EQ("new", Tile("m", "0")) << "a further tile is no other file";
    run("INSERT INTO metadata VALUES ('name', 'Other')");
    sqlite3_close(writer);
    EXPECT_EQ("none", Tile("m", "0"));
    EXPECT_EQ(1, m_log.Count("another content")) << m_log.Text();
}

TEST_F(ArchiveLibrary, LaysNothingBesideADatabaseWithALog) {
    m_folder.MakeFolder("100% & more#");
    const std::string file = "100% & more#\\m.mbtiles";
    Execute(file, "PRAGMA journal_mode = WAL;" + MbtilesSql(1, 1, 0, 1));
    Open(file);
    EXPECT_EQ("1/0/1", Tile("m", "0"));
    EXPECT_FALSE(std::filesystem::exists(m_folder / file + "-wal"));
    EXPECT_FALSE(std::filesystem::exists(m_folder / file + "-shm"));
    Execute(file, "UPDATE tiles SET tile_data = 'new'");
    EXPECT_EQ("new", Tile("m", "0"));
}

TEST_F(ArchiveLibrary, AsksTheIndexOfATableForAllItNeeds) {
    Execute("m.mbtiles", MbtilesSql(1, 1, 0, 1));
    std::string reason;
    const auto database = CSqliteConnection::Open(WideFromUtf8(m_folder / "m.mbtiles"), reason);
    ASSERT_NE(nullptr, database) << reason;
    database->AllowTime(10000);
    for (const std::string& query : CTileTable(*database, "tiles").Queries()) {
        CSqliteStatement plan = database->Prepare("EXPLAIN QUERY PLAN " + query);
        std::string steps;
        while (plan.Next()) {
            steps += std::string(plan.Text(3)) + "; ";
        }
        EXPECT_THAT(steps, HasSubstr("INDEX tile_index")) << query;
        EXPECT_THAT(steps, testing::Not(HasSubstr("B-TREE"))) << query;
    }
}

TEST_F(ArchiveLibrary, ServesEightThreadsAtOnce) {
    Execute("m.mbtiles", MbtilesSql(1, 4, 0, 1));
    m_folder.WriteFile("p.pmtiles", PmtilesWorld().Bytes());
    Open();
    EXPECT_EQ(0, FailuresOf({[this] { return Tile("m", "3333") == "4/15/0"; },
                             [this] { return Tile("p", "111") == "tile84"; },
                             [this] { return MapText("m") != "none"; }}));
}

TEST_F(ArchiveLibrary, SurvivesDamagedFiles) {
    Execute("good.mbtiles", MbtilesSql(1, 3, 0, 1, Metadata("name", "m")));
    const std::string database = m_folder.ReadFile("good.mbtiles");
    const std::string plain = PmtilesWorld().Bytes();
    PmtilesParts packed = PmtilesWorld();
    packed.directoryCode = 2;
    std::mt19937 random(7);
    for (const std::string& whole : {database, plain, packed.Bytes()}) {
        std::vector<std::string> files;
        for (std::size_t i = 0; i < 50; ++i) {
            files.push_back(whole.substr(0, whole.size() * i / 50));
            std::string flipped = whole;
            for (int flip = 0; flip < 12; ++flip) {
                // Half of them in the head, where most is decided.
                const std::size_t among = flip % 2 == 0 ? 128 : whole.size();
                flipped[8 + random() % (among - 8)] ^= static_cast<char>(1 << random() % 8);
            }
            files.push_back(flipped);
        }
        for (const std::string& bytes : files) {
            m_provider.reset();
            m_folder.WriteFile("x", bytes);
            Open("x");
            for (const std::string& name : MapNames()) {
                for (const char* key : {"0", "11", "333", "3333"}) {
                    Tile(name, key);
                }
            }
        }
    }
}

TEST_F(ArchiveLibrary, ReadsNoDatabaseWithoutEnd) {
    Execute("m.mbtiles",
            "CREATE TABLE metadata (name, value); INSERT INTO metadata VALUES ('minzoom', 1), "
            "('maxzoom', 2), ('bounds', '-180,-85,180,85');"
            "CREATE VIEW tiles AS WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n) "
            "SELECT 1 AS zoom_level, 0 AS tile_column, i AS tile_row, zeroblob(i) AS tile_data "
            "FROM n WHERE i < -1;");
    Execute("n.mbtiles",
            "CREATE VIEW tiles AS SELECT 1 AS zoom_level, 0 AS tile_column, 1 AS tile_row, "
            "zeroblob(900000000) AS tile_data;");
    // One step of SQLite's machine.
    const std::string slow = "hex(zeroblob(60000)) LIKE '%" + std::string(3000, '0') + "1'";
    Execute("o.mbtiles",
            "CREATE VIEW tiles AS SELECT 1 AS zoom_level, 0 AS tile_column, 1 AS tile_row, " +
                slow + " AS tile_data;");
    Execute("p.mbtiles", "CREATE TABLE tiles (zoom_level, tile_column, tile_row, tile_data AS (" +
                             slow + ")); INSERT INTO tiles VALUES (1, 0, 1);");
    const ULONGLONG start = ::GetTickCount64();
    Open();
    EXPECT_EQ("none", Tile("m", "0"));
    EXPECT_EQ("none", Tile("n", "0"));
    EXPECT_EQ("none", Tile("o", "0"));
    EXPECT_EQ("none", Tile("p", "0"));
    EXPECT_EQ(1, m_log.Count("not authorized")) << m_log.Text();
    EXPECT_LE(::GetTickCount64() - start, 15000U);
}

TEST_F(ArchiveLibrary, AsksTheRemoteProviderForMissingTilesAndDeletesIt) {
    m_folder.MakeFolder("far");
    Execute("m.mbtiles",
            MbtilesSql(1, 1, 0, 1, "DELETE FROM tiles WHERE tile_column = 1 AND tile_row = 1"));
    Execute("far\\m.mbtiles", MbtilesSql(1, 1, 0, 1));
    Open();
    bool deleted = false;
    m_provider->m_pRemoteProvider = new Remote(deleted);
    m_provider->m_pRemoteProvider->SetDataPath((m_folder / "far").c_str());
    EXPECT_EQ("1/0/1", Tile("m", "0"));
    EXPECT_EQ("remote", Tile("m", "1"));
    EXPECT_EQ("none", Tile("m", "11")) << "outside the map";
    EXPECT_EQ("remote", Tile("n", "1")) << "a map of the remote one alone";
    Execute("far\\m.mbtiles", Metadata("bounds", "-180,0,180,85"));
    EXPECT_TRUE(m_provider->UpdateMapLib(true));
    EXPECT_EQ("none", Tile("m", "1")) << "the remote map is half of it";
    m_provider.reset();
    EXPECT_TRUE(deleted);
}

TEST(DbPlugin, RegistersTheDefaultRemoteProvider) {
    const LibraryFolder library;
    library.Folder().WriteFile("maps\\p.pmtiles", PmtilesWorld().Bytes());
    library.Folder().WriteFile("maps\\q.pmtiles", "damaged");
    const std::string log = LogOf(library, "DBTileMapInfoProvider");
    EXPECT_THAT(log, HasSubstr("q.pmtiles"));
    EXPECT_THAT(log, testing::Not(HasSubstr("p.pmtiles")));
}

}  // namespace
