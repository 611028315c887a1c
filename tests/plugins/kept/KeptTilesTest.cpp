#include "plugins/common/kept/KeptTiles.h"

#include <thread>

#include "plugins/common/kept/KeptLimit.h"
#include "plugins/common/kept/KeptSettings.h"
#include "tests/plugins/kept/KeptFixture.h"

namespace {

using namespace TerrascopeTest;

constexpr std::uint64_t kPlenty = std::uint64_t{1} << 40;
const TileFreshness kFresh{true, "\"1\"", "", 1, INT64_MAX};

class KeptTiles : public KeptFixture {
protected:
    std::shared_ptr<CKeptTiles> Open(std::uint64_t limit = kPlenty) const {
        return std::make_shared<CKeptTiles>(Kept(), limit);
    }
    /// All that two places hold together.
    static std::string Both(CKeptTiles& tiles, const CKeptTiles::Map& map) {
        return Found(tiles, map, {2, 1, 3}) + " " + Found(tiles, map, {2, 2, 3});
    }
};

TEST_F(KeptTiles, AreAnMbtilesFileOthersCanOpen) {
    auto info = WebMapInfo();
    info.strRemark =
        "Streets Web Mercator: x in degrees of longitude, y is the ordinate on the "
        "same scale.\n(c) somebody";
    std::string png("\x89PNG\r\n\x1A\n\0\0\0\rIHDR\0\0\1\0\0\0\1\0\x08\6\0\0\0", 29);
    Open()->Keep(MapOf(info), {2, 1, 3}, Bytes(png), kFresh);
    EXPECT_EQ("(c) somebody -90,0,90,85.05112877980659 Streets png 3 2 Web baselayer ",
              Query(KeptPath(),
                    "SELECT value FROM metadata WHERE name NOT LIKE 'kept%' "
                    "ORDER BY name"));
    EXPECT_EQ("ok 1297105496 1 delete ", Query(KeptPath(),
                                               "PRAGMA integrity_check; PRAGMA application_id; "
                                               "PRAGMA auto_vacuum; PRAGMA journal_mode"));
    // Degrees of latitude on the same lines: no Mercator, so its own columns and rows, noted.
    info.strRemark = "";
    info.strName = "Degrees";
    info.dLatitude = 90;
    const auto degrees = MapOf(info);
    EXPECT_EQ((KeptPlace{2, 1, 2}), *degrees->Locate({2, 1, 1}));
    EXPECT_EQ((KeptPlace{2, 2, 2}), *MapOf()->Locate({2, 1, 1}));
    Open()->Keep(degrees, {2, 1, 2}, Bytes("a"), kFresh);
    EXPECT_EQ("Columns and rows count from the map's own corner, not as in Web Mercator. ",
              Query(KeptPath("Degrees.mbtiles"),
                    "SELECT value FROM metadata WHERE name IN ('description', 'bounds')"));
}

TEST_F(KeptTiles, HaveAFileOfTheirOwnForEachMap) {
    const auto nameOf = [](const char* name) {
        const std::wstring file = MapOf(WebMapInfo(name))->FileName();
        return std::string(file.begin(), file.end());
    };
    EXPECT_EQ("A map-1_b.c.mbtiles", nameOf("A map-1_b.c"));
    const auto isMarked = [](const std::string& file) { return file[file.size() - 17] == '-'; };
    EXPECT_TRUE(isMarked(nameOf("a/b:c")));
    EXPECT_NE(nameOf("a/b"), nameOf("a:b"));
    EXPECT_THAT(nameOf("..\\..\\x"), testing::StartsWith(".._.._x-"));
    for (const char* name : {"con", "LPT1.x", "ends.", "ends ", ".."}) {
        EXPECT_TRUE(isMarked(nameOf(name))) << name;
    }
    EXPECT_GT(130U, nameOf(std::string(250, 'x').c_str()).size());
    // Of two sources that have a map of one name, and one that differs in case alone.
    const auto other = MapOf(WebMapInfo("WEB"), "fedcba9876543210");
    auto tiles = Open();
    tiles->Keep(MapOf(), {2, 1, 3}, Bytes("first"), kFresh);
    tiles->Keep(MapOf(WebMapInfo("wEB")), {2, 2, 3}, Bytes("also"), kFresh);
    tiles = Open();
    tiles->Keep(other, {2, 1, 3}, Bytes("second"), kFresh);
    tiles = Open();
    EXPECT_EQ("first also", Both(*tiles, MapOf()));
    EXPECT_EQ("second none", Both(*tiles, other));
    EXPECT_EQ("1 ", Query(KeptPath("WEB-fedcba98.mbtiles"), "SELECT count(*) FROM tiles"));
}

TEST_F(KeptTiles, AreFoundBeforeTheyAreWrittenAndAfter) {
    const auto map = MapOf();
    auto tiles = Open();
    tiles->Keep(map, {2, 1, 3}, Bytes("one"), kFresh);
    tiles->Keep(map, {2, 2, 3}, Bytes("two"), kFresh);
    EXPECT_EQ("one two", Both(*tiles, map));
    EXPECT_TRUE(Await([&] { return Query(KeptPath(), "SELECT count(*) FROM tiles") == "2 "; }));
    EXPECT_EQ("one two", Both(*tiles, map));
    TileFreshness later = kFresh;
    later.expires = 77;
    tiles->Refresh(map, {2, 1, 3}, later);
    tiles->Drop(map, {2, 2, 3});
    tiles->Refresh(map, {2, 2, 3}, later);
    EXPECT_EQ("one none", Both(*tiles, map));
    EXPECT_EQ(77, tiles->Find(map, {2, 1, 3})->freshness.expires);
    tiles = nullptr;
    tiles = Open();
    EXPECT_EQ("one none", Both(*tiles, map));
    EXPECT_EQ(77, tiles->Find(map, {2, 1, 3})->freshness.expires);
    // What a header must not have does not come out of a file either.
    Query(KeptPath(),
          "UPDATE kept_tiles SET entity_tag = 'a' || char(13, 10) || 'b', last_use = 5");
    EXPECT_EQ("", tiles->Find(map, {2, 1, 3})->freshness.entityTag);
    EXPECT_TRUE(Await([&] {
        return Query(KeptPath(), "SELECT count(*) FROM kept_tiles WHERE last_use > 5") == "1 ";
    })) << "the use is noted";
    tiles->DropMap(map);
    tiles->Refresh(map, {2, 1, 3}, later);
    EXPECT_EQ("none none", Both(*tiles, map));
    tiles = nullptr;
    EXPECT_EQ(INVALID_FILE_ATTRIBUTES, ::GetFileAttributesA(KeptPath().c_str()));
}

TEST_F(KeptTiles, GoWhenTheyWereLongestUnusedBeyondTheLimit) {
    const auto map = MapOf();
    const auto other = MapOf(WebMapInfo("Other"));
    {
        const auto tiles = Open();
        for (int i = 0; i < 60; ++i) {
            tiles->Keep(i % 2 == 0 ? map : other, {9, i, 0}, std::vector<std::uint8_t>(10'000, 1),
                        kFresh);
        }
    }
    // The older ones first, in both files.
    for (const char* file : {"Web.mbtiles", "Other.mbtiles"}) {
        Query(KeptPath(file), "UPDATE kept_tiles SET last_use = tile_column + 1");
    }
    m_folder.WriteFile("data\\kept\\mine.mbtiles", std::string(1'000'000, 'x'));
    const std::string damaged = "data\\kept\\Web.mbtiles.damaged";
    m_folder.WriteFile(damaged, std::string(1'000'000, 'x'));
    KeepWithin(Kept(), 900'000, [] { return true; });
    EXPECT_EQ("", m_folder.ReadFile(damaged)) << "what is damaged goes first";
    EXPECT_EQ("30 ", Query(KeptPath(), "SELECT count(*) FROM tiles"));
    KeepWithin(Kept(), 500'000, [] { return true; });
    const auto size = [this] {
        return m_folder.ReadFile("data\\kept\\Web.mbtiles").size() +
               m_folder.ReadFile("data\\kept\\Other.mbtiles").size();
    };
    EXPECT_LE(size(), 500'000U);
    EXPECT_GE(size(), 350'000U);
    for (const char* file : {"Web.mbtiles", "Other.mbtiles"}) {
        const int least =
            std::atoi(Query(KeptPath(file), "SELECT min(tile_column) FROM tiles").c_str());
        EXPECT_GT(least, 10) << file;
        EXPECT_EQ(60 - least,
                  2 * std::atoi(Query(KeptPath(file), "SELECT count(*) FROM tiles").c_str()) -
                      (least % 2 == 0 ? 0 : 1));
        EXPECT_EQ("ok ", Query(KeptPath(file), "PRAGMA integrity_check"));
    }
    EXPECT_EQ(1'000'000U, m_folder.ReadFile("data\\kept\\mine.mbtiles").size());
    // A file that another program has locked is left for the next time.
    sqlite3* locker = nullptr;
    sqlite3_open(KeptPath().c_str(), &locker);
    sqlite3_exec(locker, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr);
    const ULONGLONG start = ::GetTickCount64();
    const std::size_t before = size();
    KeepWithin(Kept(), 380'000, [start] { return ::GetTickCount64() - start < 5000; });
    EXPECT_LT(::GetTickCount64() - start, 4000U);
    EXPECT_LT(size(), before);
    sqlite3_close(locker);
    KeepWithin(Kept(), 380'000, [] { return true; });
    EXPECT_LE(size(), 380'000U);
    // By itself after a batch.
    const auto tiles = Open(400'000);
    tiles->Keep(other, {9, 100, 0}, std::vector<std::uint8_t>(60'000, 1), kFresh);
    EXPECT_TRUE(Await([&] { return size() <= 400'000; }));
    EXPECT_NE("none", Found(*tiles, other, {9, 100, 0}));
}

TEST_F(KeptTiles, MayBeWrittenByTwoAtOnce) {
    const auto map = MapOf();
    constexpr int kTiles = 200;
    {
        // As two processes have it: each with a writer of its own.
        const auto first = Open();
        const auto second = Open();
        const auto work = [&](CKeptTiles& tiles, int from) {
            for (int i = from; i < from + kTiles; ++i) {
                tiles.Keep(map, {10, i, 0}, Bytes(std::to_string(i) + std::string(3000, 'x')),
                           kFresh);
                if (i % 50 == 0) {
                    tiles.Descriptions("x");
                    Await([&] { return Found(tiles, map, {10, i, 0}) != "none"; });
                }
            }
        };
        std::jthread one([&] { work(*first, 0); });
        std::jthread two([&] { work(*second, kTiles / 2); });
        one.join();
        two.join();
        EXPECT_TRUE(Await([&] {
            return Query(KeptPath(), "SELECT count(*) FROM tiles") ==
                   std::to_string(kTiles * 3 / 2) + " ";
        })) << m_log.Text();
    }
    EXPECT_EQ("ok ", Query(KeptPath(), "PRAGMA integrity_check"));
    const auto tiles = Open();
    for (int i = 0; i < kTiles * 3 / 2; ++i) {
        EXPECT_EQ(std::to_string(i) + std::string(3000, 'x'), Found(*tiles, map, {10, i, 0}));
    }
}

TEST_F(KeptTiles, AreDroppedAtTheEndWhileAnotherHasTheFileLocked) {
    const auto map = MapOf();
    Open()->Keep(map, {2, 1, 3}, Bytes("one"), kFresh);
    sqlite3* other = nullptr;
    sqlite3_open(KeptPath().c_str(), &other);
    sqlite3_exec(other, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr);
    auto tiles = Open();
    EXPECT_EQ("none none", Both(*tiles, map)) << "not now";
    tiles->DropMap(map);
    tiles->Describe("0123456789abcdef", "what would hide that the old tiles are still there");
    tiles->Keep(map, {2, 2, 3}, Bytes("two"), kFresh);
    EXPECT_EQ("two", Found(*tiles, map, {2, 2, 3}));
    const ULONGLONG start = ::GetTickCount64();
    tiles = nullptr;
    EXPECT_LT(::GetTickCount64() - start, 1000U);
    sqlite3_close(other);
    EXPECT_EQ("one none", Both(*Open(), map));
    EXPECT_EQ("", Open()->Descriptions("0123456789abcdef"));
}

TEST_F(KeptTiles, AreNotWrittenToAFileThatWasMovedAway) {
    const auto map = MapOf();
    Open()->Keep(map, {2, 1, 3}, Bytes("one"), kFresh);
    sqlite3* other = nullptr;
    sqlite3_open(KeptPath().c_str(), &other);
    sqlite3_exec(other, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr);
    const auto moveAndUnlock = [&] {
        EXPECT_TRUE(other == nullptr || ::MoveFileA(KeptPath().c_str(), KeptPath("moved").c_str()));
        sqlite3_close(other);
        other = nullptr;
        return true;
    };
    SqliteFailure failure = SqliteFailure::None;
    const auto writer = CKeptWriter::Open(Kept(), *map, moveAndUnlock, failure);
    ASSERT_NE(nullptr, writer);
    writer->Keep({2, 2, 3}, Bytes("two"), kFresh);
    EXPECT_EQ(SqliteFailure::None, writer->Commit());
    EXPECT_EQ("none two", Both(*Open(), map));
    EXPECT_EQ("1 ", Query(KeptPath("moved"), "SELECT count(*) FROM tiles"));
}

TEST_F(KeptTiles, AreBegunAnewWhereTheFileIsDamagedAndBesideOneOfOthers) {
    const auto map = MapOf();
    Open()->Keep(map, {2, 1, 3}, Bytes("one"), kFresh);
    const std::string good = m_folder.ReadFile("data\\kept\\Web.mbtiles");
    const std::string schema = "CREATE TABLE tiles (zoom_level, tile_column, tile_row, tile_data);";
    for (const std::string& content :
         {std::string("no database at all, but some text"), good.substr(0, 3000),
          good.substr(0, 4096) + std::string(good.size() - 4096, '\xA5')}) {
        ::DeleteFileA(KeptPath("Web.mbtiles.damaged").c_str());
        m_folder.WriteFile("data\\kept\\Web.mbtiles", content);
        EXPECT_EQ("none none", Both(*Open(), map));
        Open()->Keep(map, {2, 2, 3}, Bytes("two"), kFresh);
        EXPECT_EQ("none two", Both(*Open(), map)) << m_log.Text();
        EXPECT_TRUE(content == m_folder.ReadFile("data\\kept\\Web.mbtiles.damaged"));
    }
    // A file of kept tiles, but for a trigger.
    Query(KeptPath(), "CREATE TRIGGER t AFTER INSERT ON tiles BEGIN DELETE FROM tiles; END");
    Open()->Keep(map, {2, 1, 3}, Bytes("one"), kFresh);
    EXPECT_EQ("one none", Both(*Open(), map));
    EXPECT_EQ(4, m_log.Count("is damaged")) << m_log.Text();
    // A map of the user's own is left alone.
    ::DeleteFileA(KeptPath().c_str());
    m_folder.WriteFile("data\\kept\\Web.mbtiles", "");
    Query(KeptPath(), schema + "INSERT INTO tiles VALUES (2, 1, 3, 'mine')");
    const std::string mine = m_folder.ReadFile("data\\kept\\Web.mbtiles");
    EXPECT_EQ("none none", Both(*Open(), map));
    Open()->Keep(map, {2, 1, 3}, Bytes("one"), kFresh);
    EXPECT_EQ("one none", Both(*Open(), map));
    EXPECT_EQ(mine, m_folder.ReadFile("data\\kept\\Web.mbtiles"));
}

TEST_F(KeptTiles, AreAsTheyWereAfterAWriterWasKilled) {
    const auto map = MapOf();
    {
        const auto tiles = Open();
        for (int i = 0; i < 50; ++i) {
            tiles->Keep(map, {9, i, 0}, Bytes(std::to_string(i) + std::string(5000, 'x')), kFresh);
        }
    }
    // A change that is half in the file already, and half in the journal beside it.
    sqlite3* writer = nullptr;
    sqlite3_open(KeptPath().c_str(), &writer);
    ASSERT_EQ(SQLITE_OK, sqlite3_exec(writer,
                                      "PRAGMA cache_size = 1; BEGIN; UPDATE tiles SET tile_data = "
                                      "zeroblob(5001); DELETE FROM kept_tiles",
                                      nullptr, nullptr, nullptr));
    for (const char* file : {"Web.mbtiles", "Web.mbtiles-journal"}) {
        const std::string bytes = m_folder.ReadFile(std::string("data\\kept\\") + file);
        EXPECT_LT(100'000U, bytes.size()) << file;
        m_folder.WriteFile(std::string("killed\\kept\\") + file, bytes);
    }
    EXPECT_FALSE(::DeleteFileA(KeptPath("Web.mbtiles-journal").c_str()));
    sqlite3_close(writer);
    const std::string path = m_folder / "killed\\kept";
    CKeptTiles tiles({path.begin(), path.end()}, kPlenty);
    for (int i = 0; i < 50; ++i) {
        EXPECT_EQ(std::to_string(i) + std::string(5000, 'x'), Found(tiles, map, {9, i, 0}));
    }
}

/// What the next test has killed, in a process of its own.
TEST(KeptTilesWriter, DISABLED_WritesUntilItIsKilled) {
    wchar_t folder[MAX_PATH] = L"";
    ASSERT_NE(0U, ::GetEnvironmentVariableW(L"KEPT_FOLDER", folder, MAX_PATH));
    const auto info = WebMapInfo();
    const auto map = KeptMap::Make("0123456789abcdef", info, LayersOf(info));
    CKeptTiles tiles(folder, 1'500'000);
    for (int i = 0;; ++i) {
        const std::string text = std::to_string(i % 1024) + "x" + std::to_string(i);
        std::vector<std::uint8_t> bytes(text.begin(), text.end());
        bytes.resize(4000 + bytes.size() * 100, '.');
        tiles.Keep(map, {10, i % 1024, 0}, std::move(bytes), kFresh);
        if (i % 64 == 63) {
            Await([] { return false; }, 20);
        }
    }
}

TEST_F(KeptTiles, AreWholeWheneverTheWriterIsKilled) {
    ::SetEnvironmentVariableW(L"KEPT_FOLDER", Kept().c_str());
    wchar_t program[MAX_PATH] = L"";
    ::GetModuleFileNameW(nullptr, program, MAX_PATH);
    const auto map = MapOf();
    for (int i = 0; i < 4; ++i) {
        std::wstring command = L"\"" + std::wstring(program) +
                               L"\" --gtest_also_run_disabled_tests "
                               L"--gtest_filter=KeptTilesWriter.*";
        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        PROCESS_INFORMATION process{};
        ASSERT_TRUE(::CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr,
                                     nullptr, &startup, &process));
        const CFileHandle thread(process.hThread);
        const CFileHandle handle(process.hProcess);
        // At some point of its work: the journal is there while a change goes on.
        const std::string journal = KeptPath("Web.mbtiles-journal");
        EXPECT_TRUE(Await(
            [&] {
                const auto file = LookAtFile(Kept() + L"\\Web.mbtiles");
                return file && file->size > 400'000U * static_cast<unsigned>(i) &&
                       ::GetFileAttributesA(journal.c_str()) != INVALID_FILE_ATTRIBUTES;
            },
            30000));
        ::TerminateProcess(handle.Get(), 1);
        ::WaitForSingleObject(handle.Get(), 10000);
        const auto tiles = Open();
        int count = 0;
        for (int column = 0; column < 1024; ++column) {
            const std::string tile = Found(*tiles, map, {10, column, 0});
            if (tile != "none") {
                ++count;
                const std::size_t end = tile.find('.');
                EXPECT_EQ(4000 + end * 100, tile.size());
                EXPECT_EQ(std::to_string(column), tile.substr(0, tile.find('x')));
            }
        }
        EXPECT_EQ("ok ", Query(KeptPath(), "PRAGMA integrity_check"));
        const bool isBegun = Query(KeptPath(), "SELECT count(*) FROM sqlite_schema") != "0 ";
        EXPECT_EQ(isBegun ? "0 " : "no such table: tiles",
                  Query(KeptPath(),
                        "SELECT count(*) FROM tiles t LEFT JOIN kept_tiles k ON "
                        "k.tile_column = t.tile_column WHERE k.expires IS NULL"));
        RecordProperty("tiles", count);
    }
}

TEST_F(KeptTiles, HaveTheLimitOfTheSettings) {
    const std::pair<const char*, std::uint64_t> cases[] = {
        {"", 512},
        {"CACHE_LIMIT_MB=0", 0},
        {"CACHE_LIMIT_MB= 7 ", 7},
        {"CACHE_LIMIT_MB=-1", 512},
        {"CACHE_LIMIT_MB=1e3", 512},
        {"CACHE_LIMIT_MB=99999999999999999999", 512}};
    for (const auto& [line, limit] : cases) {
        const std::string path = m_folder.WriteFile("t.ini", "[P]\n" + std::string(line) + "\n");
        EXPECT_EQ(limit * 1024 * 1024, ReadKeptLimit(path.c_str(), "P")) << line;
    }
    EXPECT_EQ(3, m_log.Count("CACHE_LIMIT_MB")) << m_log.Text();
}

}  // namespace
