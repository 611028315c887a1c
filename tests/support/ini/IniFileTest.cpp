#include "terrascope/support/ini/IniFile.h"

#include <gtest/gtest.h>

#include <climits>
#include <regex>
#include <string>
#include <vector>

#include "terrascope/support/ini/MemIniFile.h"
#include "tests/fixtures/LogCapture.h"
#include "tests/fixtures/TemporaryFolder.h"

namespace Terrascope {
namespace {

using namespace std::string_literals;
using Names = std::vector<CString>;

class IniFile : public testing::Test {
protected:
    CMemIniFile Open(const std::string& text, bool caseSensitive) const {
        return CMemIniFile(folder.WriteFile("a.ini", text).c_str(), caseSensitive);
    }
    const TerrascopeTest::TemporaryFolder folder{TerrascopeTest::FolderName::Awkward};
    const CString path = (folder / "a.ini").c_str();
};
using MemIniFile = IniFile;

TEST(CustomIniFile, ReadsNumbersByTheirOwnRules) {
    CMemIniFile file("", true);
    const struct {
        const char* text;
        int integer;
        unsigned lastDigit;
    } cases[] = {{"123x", 123, 0}, {"300", 300, 0}, {"-99999999999", INT_MIN, 9}, {"", -7, 7}};
    for (const auto& c : cases) {
        file.WriteString("s", "k", c.text);
        EXPECT_EQ(c.integer, file.ReadInteger("s", "k", -7));
        EXPECT_EQ(c.lastDigit, file.ReadUInt("s", "k", 7));
        EXPECT_EQ(static_cast<BYTE>(c.integer), file.ReadByte("s", "k", 249));
    }
    file.WriteUInt("s", "k", 4294967295U);
    EXPECT_EQ("-1", file.ReadString("s", "k", ""));
    file.WriteFloat("s", "k", 0.1F);
    EXPECT_EQ("0.100000", file.ReadString("s", "k", ""));
    EXPECT_EQ(0.1, file.ReadDouble("s", "k", 0));
}

TEST_F(IniFile, AsksTheSystemForEveryValue) {
    folder.WriteFile("a.ini", "[S]\r\nk = v \r\nq=\"  a  \"\r\nempty=\r\n[t]\r\n");
    CIniFile file(path);
    EXPECT_EQ("v  a  def", file.ReadString("s", "K", "") + file.ReadString("s", "q", "") +
                               file.ReadString("s", "none", "def"));
    EXPECT_EQ((Names{"k", "q", "empty"}), file.ReadSectionValues("S"));
    file.WriteString("S", "k", " blank");
    EXPECT_NE(std::string::npos, folder.ReadFile("a.ini").find("k=\" blank\""));
    file.DeleteKey("S", "q");
    EXPECT_EQ((Names{"k", "empty"}), file.ReadSection("S"));
    file.AddSection("S");
    EXPECT_TRUE(file.ReadSection("S").empty());
    file.AddSection("new");
    file.EraseSection("S");
    EXPECT_EQ((Names{"t", "new"}), file.ReadSections());
    file.WriteString("long", CString('k', 1500), "1");
    EXPECT_EQ(Names{CString('k', 999)}, file.ReadSection("long")) << "longer names are cut";
}

TEST_F(IniFile, RefusesTextsThatTheSystemDoesNotTake) {
    CIniFile file(path);
    file.WriteString("s", "k", CString('x', 32766));
    EXPECT_EQ(32766, file.ReadString("s", "k", "").GetLength());
    const std::string before = folder.ReadFile("a.ini");
    const TerrascopeTest::LogCapture log;
    for (const CString& tooLong : {CString('y', 32767), CString('y', 70000)}) {
        file.WriteString("s", "k", tooLong);
        file.WriteString("s", tooLong, "v");
        file.AddSection(tooLong);
        EXPECT_EQ("d", file.ReadString(tooLong, "k", "d"));
        EXPECT_EQ("", file.ReadString("s", "none", tooLong));
    }
    file.WriteString("s", "k", " " + CString('y', 32764));
    EXPECT_EQ(before, folder.ReadFile("a.ini"));
    EXPECT_EQ(7, log.Count("too long"));
}

const struct {
    const char* name;
    std::string file;
    const char *section, *key, *value;
} kLookups[] = {
    {"blanks in a header", "[ \ta b ]\nk=v", "a b", "k", "v"},
    {"blanks round the equals sign", "[s]\r\n  k \t = v ", "s", "k", " v"},
    {"an equals sign in the value", "[s]\na==b", "s", "a", "=b"},
    {"an equals sign in the first column", "[s]\n=b", "s", "", ""},
    {"comments are keys when they look so", "[s]\n;a=b", "s", ";a", "b"},
    {"an open bracket is no header", "[s]\n[open\nk=v", "s", "k", "v"},
    {"keys before the first header", "k=v\n[s]", "", "k", "v"},
    {"the later of equal keys", "[s]\nk=1\nk=2", "s", "k", "2"},
    {"a byte-order mark hides the header", "\xEF\xBB\xBF[s]\nk=v\n[t]\nx=y", "", "k", "v"},
    {"the end mark of old editors", "[s]\nk=v\n\x1A\nk=w", "s", "k", "v"},
    {"the line after a zero byte", "[s]\nk=v\0w\nl=x"s, "s", "l", "x"},
};

TEST_F(MemIniFile, FindsWhatTheFileHolds) {
    for (const auto& c : kLookups) {
        for (const bool caseSensitive : {false, true}) {
            CMemIniFile file = Open(c.file, caseSensitive);
            EXPECT_EQ(c.value, file.ReadString(c.section, c.key, "ignored")) << c.name;
        }
    }
    const char* section = TerrascopeTest::HasTwoByteCharacters() ? "" : "\xD5";
    EXPECT_EQ("v", Open("[\xD5\x5D\nk=v", true).ReadString(section, "k", ""));
}

const struct {
    const char* name;
    const char* before;
    char operation;  // write, delete, erase, add
    const char *section, *key, *value;
    const char* after;  // "\n" is here the line end that is written
} kChanges[] = {
    {"a new key comes first", "[s]\na=1", 'w', "s", "b", " 2 ", "[s]\nb= 2 \na=1\n"},
    {"a new section comes last", "; c\n\n[s]", 'w', "t", "b", "2", "; c\n[s]\n[t]\nb=2\n"},
    {"a known key keeps its line", "[S]\nKey=1\nb=2", 'w', "s", "kEY", "3", "[S]\nkEY=3\nb=2\n"},
    {"a section in another case", "[x]\n[S]\na=1", 'w', "s", "b", "2", "[x]\nb=2\n[S]\na=1\n"},
    {"before the first header", "a=1\n[S]", 'w', "", "b", "2", "a=1\nb=2\n[S]\n"},
    {"a section without keys", "[s]\n[t]", 'w', "s", "b", "2", "[s]\nb=2\n[t]\n"},
    {"a section is added again", "[s]\n[t]", 'a', "s", "", "", "[s]\n[t]\n[s]\n"},
    {"the later of equal keys goes", "[s]\nk=1\nk=2", 'd', "S", "K", "", "[s]\nk=1\n"},
    {"the later of equal sections goes", "[s]\na=1\n[s]\n;c\nb=2\n[t]\nc=3", 'e', "S", "", "",
     "[s]\na=1\n[t]\nc=3\n"},
};

TEST_F(MemIniFile, WritesBackTheseLines) {
    for (const auto& c : kChanges) {
        CMemIniFile file = Open(c.before, false);
        if (c.operation == 'w') {
            file.WriteString(c.section, c.key, c.value);
        } else if (c.operation == 'd') {
            file.DeleteKey(c.section, c.key);
        } else if (c.operation == 'e') {
            file.EraseSection(c.section);
        } else {
            file.AddSection(c.section);
        }
        file.UpdateFile();
        EXPECT_EQ(std::regex_replace(c.after, std::regex("\n"), "\r\r\n"), folder.ReadFile("a.ini"))
            << c.name;
    }
}

TEST_F(MemIniFile, HoldsEachOperationToItsRuleOfCase) {
    for (const bool caseSensitive : {true, false}) {
        for (const bool sameCase : {true, false}) {
            CMemIniFile file = Open("[Abc]\nKey=1\n; c\n[x]", caseSensitive);
            const CString section = sameCase ? "Abc" : "ABC";
            const CString key = sameCase ? "Key" : "KEY";
            const bool found = sameCase || !caseSensitive;
            EXPECT_EQ(found ? "1" : "", file.ReadString(section, key, ""));
            EXPECT_EQ(found ? 2U : 0U, file.ReadSectionValues(section).size());
            EXPECT_EQ(sameCase, file.SectionExists(section) || file.ValueExists(section, key));
            EXPECT_EQ(sameCase ? 1U : 0U, file.ReadSection(section).size());
        }
    }
    CMemIniFile file = Open("k=0\n[s]\nk=1\nk=2\n[t]\n[s]\nj=3", false);
    EXPECT_EQ((Names{"s", "t", "s"}), file.ReadSections());
    EXPECT_EQ((Names{"k", "k", "j"}), file.ReadSection("s"));
    EXPECT_FALSE(file.SectionExists("") || !file.ReadSection("").empty()) << "has no header";
    // Of names that differ in case only, the first one in byte order, not the one that is equal.
    const char* text = "[s]\nkey=1\n[S]\nkey=2\nKEY=3\nKey=4";
    EXPECT_EQ("3", Open(text, false).ReadString("s", "key", ""));
    EXPECT_EQ("1", Open(text, true).ReadString("s", "key", ""));
}

}  // namespace
}  // namespace Terrascope
