#include "terrascope/support/IniFile.h"

#include <gtest/gtest.h>
#include <shlwapi.h>

#include <climits>
#include <memory>
#include <vector>

#include "TempFolder.h"
#include "Throws.h"
#include "terrascope/support/DateTimeText.h"
#include "terrascope/support/MemIniFile.h"
#include "terrascope/support/Paths.h"

namespace Terrascope {
namespace {

using Names = std::vector<CString>;

/// What holds for both kinds of file.
class BothIniFiles : public testing::TestWithParam<bool> {
protected:
    std::unique_ptr<CCustomIniFile> Open(const CString& path) const {
        if (GetParam()) {
            return std::make_unique<CMemIniFile>(path, true);
        }
        return std::make_unique<CIniFile>(path);
    }
    const TempFolder folder;
};
INSTANTIATE_TEST_SUITE_P(Ini, BothIniFiles, testing::Values(false, true),
                         [](const auto& kind) { return kind.param ? "InMemory" : "OnDisk"; });

TEST_P(BothIniFiles, ReadNumbersByTheirOwnRules) {
    const auto file = Open(folder.Path("new.ini"));
    EXPECT_TRUE(::PathFileExistsA(folder.Path("new.ini")));
    EXPECT_EQ(file->ReadInteger("s", "none", -7), -7);
    EXPECT_EQ(file->ReadFloat("s", "none", 0.5f), 0.5f);

    file->WriteString("s", "k", "123x");
    EXPECT_EQ(file->ReadInteger("s", "k", 0), 123);
    EXPECT_EQ(file->ReadUInt("s", "k", 9), 0U);
    file->WriteString("s", "k", "300");
    EXPECT_EQ(file->ReadUInt("s", "k", 9), 0U);
    EXPECT_EQ(file->ReadByte("s", "k", 0), 44);
    EXPECT_TRUE(file->ReadBool("s", "k", false));
    file->WriteString("s", "k", "-99999999999");
    EXPECT_EQ(file->ReadInteger("s", "k", 0), INT_MIN);
    EXPECT_EQ(file->ReadUInt("s", "k", 0), 9U) << "the last digit alone";

    file->WriteUInt("s", "k", 4294967295U);
    EXPECT_EQ(file->ReadString("s", "k", ""), "-1");
    file->WriteFloat("s", "k", 0.1f);
    EXPECT_EQ(file->ReadString("s", "k", ""), "0.100000");
    file->WriteDouble("s", "k", -1e10);
    EXPECT_EQ(file->ReadDouble("s", "k", 0), -1e10);
}

TEST_P(BothIniFiles, ReadDatesByTheirSeparators) {
    const auto file = Open(folder.Path("a.ini"));
    const CTime fallback(5);
    struct {
        const char* text;
        const char* read;  // null: the default
    } const cases[] = {
        {"2024-05-06 07:08:09", "2024-05-06 07:08:09"},
        {"2024-5-6 7:8:9", "2024-05-06 07:08:09"},
        {"2024-05-06 x", "2024-05-06 00:00:00"},
        {"2024-05-06", nullptr},
        {"2024-05-06 07:08", nullptr},
        {"", nullptr},
    };
    for (const auto& c : cases) {
        file->WriteString("s", "k", c.text);
        const CTime read = file->ReadDateTime("s", "k", fallback);
        if (c.read == nullptr) {
            EXPECT_TRUE(read == fallback) << c.text;
        } else {
            EXPECT_EQ(read.Format(kDateTimeForm), c.read) << c.text;
            file->WriteDateTime("s", "k", read);
            EXPECT_EQ(file->ReadString("s", "k", ""), c.read);
        }
    }
    for (const char* text : {"1969-05-06 07:08:09", "2024-5-32 x", "a-b-c d:e:f"}) {
        file->WriteString("s", "k", text);
        EXPECT_TRUE(Throws<COleException>([&] { file->ReadDateTime("s", "k", fallback); })) << text;
    }
}

TEST(IniFile, AsksTheSystemForEveryValue) {
    const TempFolder folder;
    CIniFile file(folder.Write("a.ini", "[S]\r\nk = v \r\nq=\"  a  \"\r\nempty=\r\n[t]\r\n"));
    EXPECT_EQ(file.ReadString("s", "K", ""), "v");
    EXPECT_EQ(file.ReadString("s", "q", ""), "  a  ");
    EXPECT_EQ(file.ReadString("s", "none", "default"), "default");
    EXPECT_EQ(file.ReadSections(), (Names{"S", "t"}));
    EXPECT_EQ(file.ReadSection("S"), (Names{"k", "q", "empty"}));
    EXPECT_EQ(file.ReadSectionValues("S"), file.ReadSection("S"));
    EXPECT_FALSE(file.SectionExists("s"));
    EXPECT_FALSE(file.ValueExists("S", "K"));

    file.WriteString("S", "k", " blank");
    file.WriteString("S", "tail", "blank ");
    file.UpdateFile();
    EXPECT_NE(folder.Read("a.ini").find("k=\" blank\""), std::string::npos);
    EXPECT_EQ(file.ReadString("S", "tail", ""), "blank ");

    file.DeleteKey("S", "q");
    EXPECT_EQ(file.ReadSection("S"), (Names{"k", "empty", "tail"}));
    file.AddSection("S");
    EXPECT_TRUE(file.ReadSection("S").empty());
    file.AddSection("new");
    EXPECT_EQ(file.ReadSections(), (Names{"S", "t", "new"}));
    file.EraseSection("S");
    EXPECT_EQ(file.ReadSections(), (Names{"t", "new"}));
    file.WriteString("long", CString('k', 1500), "1");
    EXPECT_EQ(file.ReadSection("long"), Names{CString('k', 999)}) << "longer names are cut";
    file.Clear();
    EXPECT_EQ(folder.Read("a.ini"), "");
}

// What one kind writes the other reads, from the same file, to and fro.
TEST(IniFile, SharesItsFileWithTheOneInMemory) {
    const TempFolder folder;
    const CString path = folder.Path("shared.ini");
    for (int round = 0; round < 3; ++round) {
        CIniFile disk(path);
        disk.WriteInteger("disk", CString("k") + char('0' + round), round);
        disk.UpdateFile();

        CMemIniFile memory(path, true);
        EXPECT_EQ(memory.ReadInteger("disk", CString("k") + char('0' + round), -1), round);
        memory.WriteDateTime("memory", "when", CTime(2024, 5, 6, 7, 8, round));
        memory.UpdateFile();  // with CR CR LF at the lines' ends
        EXPECT_TRUE(disk.ReadDateTime("memory", "when", CTime()) == CTime(2024, 5, 6, 7, 8, round));
        EXPECT_EQ(disk.ReadSections(), (Names{"disk", "memory"}));
    }
    EXPECT_EQ(CMemIniFile(path, true).ReadSection("disk"), (Names{"k0", "k1", "k2"}));
}

TEST(IniFile, LooksForRelativeNamesBesideTheProgram) {
    const CString name = CreateGuidString();
    const CMemIniFile file(name, true);
    EXPECT_EQ(file.GetFileName(), ModuleFolder(nullptr) + "\\" + name);
    EXPECT_TRUE(ForceDeleteFile(file.GetFileName()));

    CMemIniFile nowhere("Z:\\no such folder\\a.ini", true);
    nowhere.WriteString("s", "k", "v");
    nowhere.UpdateFile();
    EXPECT_FALSE(::PathFileExistsA(nowhere.GetFileName()));
    CMemIniFile nameless("", false);
    EXPECT_EQ(nameless.ReadString("s", "k", "default"), "");
}

}  // namespace
}  // namespace Terrascope
