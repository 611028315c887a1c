#include "terrascope/support/MemIniFile.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <ostream>
#include <random>

#include "TempFolder.h"
#include "terrascope/support/DateTimeText.h"
#include "terrascope/support/NameIndex.h"

namespace Terrascope {
namespace {

using namespace std::string_literals;

const char kMissing[] = "";

struct LookupCase {
    const char* name;
    std::string file;
    const char* section;
    const char* key;
    const char* value;
};
void PrintTo(const LookupCase& c, std::ostream* out) {
    *out << c.name;
}

const LookupCase kLookups[] = {
    {"blanks in a header", "[ \ta b ]\nk=v", "a b", "k", "v"},
    {"blanks round the equals sign", "[s]\r\n  k \t = v ", "s", "k", " v"},
    {"quotation marks", "[s]\nk=\"v\"", "s", "k", "\"v\""},
    {"an equals sign in the value", "[s]\na==b", "s", "a", "=b"},
    {"an equals sign in the first column", "[s]\n=b", "s", "", kMissing},
    {"comments are keys when they look so", "[s]\n;a=b", "s", ";a", "b"},
    {"an open bracket is no header", "[s]\n[open\nk=v", "s", "k", "v"},
    {"an open bracket may begin a key", "[s]\n[open=1", "s", "[open", "1"},
    {"keys before the first header", "k=v\n[s]", "", "k", "v"},
    {"the later of equal keys", "[s]\nk=1\nk=2", "s", "k", "2"},
    {"headers of one name are one section", "[s]\na=1\n[t]\n[s]\nb=2", "s", "a", "1"},
    {"line ends that this program writes", "[s]\r\r\n\r\r\nk=v\r\r\n", "s", "k", "v"},
    {"a byte-order mark hides the header", "\xEF\xBB\xBF[s]\nk=v\n[t]\nx=y", "", "k", "v"},
    {"a byte-order mark hides one header only", "\xEF\xBB\xBF[s]\nk=v\n[t]\nx=y", "t", "x", "y"},
    {"the end mark of old editors", "[s]\nk=v\n\x1A\nk=w", "s", "k", "v"},
    {"a zero byte ends its line", "[s]\nk=v\0w\nl=x"s, "s", "k", "v"},
    {"the line after a zero byte", "[s]\nk=v\0w\nl=x"s, "s", "l", "x"},
    {"old line ends make one line", "[s]\rk=v\r", "", "[s]\rk", "v"},
    {"an empty file", "", "s", "k", kMissing},
};

class MemIniLookup : public testing::TestWithParam<LookupCase> {};

TEST_P(MemIniLookup, FindsWhatTheFileHolds) {
    const LookupCase& c = GetParam();
    const TempFolder folder;
    for (const bool caseSensitive : {false, true}) {
        CMemIniFile file(folder.Write("a.ini", c.file), caseSensitive);
        EXPECT_EQ(file.ReadString(c.section, c.key, "ignored"), c.value);
    }
}
INSTANTIATE_TEST_SUITE_P(MemIniFile, MemIniLookup, testing::ValuesIn(kLookups));

TEST(MemIniFile, TakesASecondByteForNoBracket) {
    const TempFolder folder;
    CMemIniFile file(folder.Write("a.ini", "[\xD5\x5D\nk=v"), true);
    EXPECT_EQ(file.ReadString(HasTwoByteCharacters() ? "" : "\xD5", "k", ""), "v");
}

struct ChangeCase {
    const char* name;
    const char* before;
    std::function<void(CMemIniFile&)> change;
    std::string after;
};
void PrintTo(const ChangeCase& c, std::ostream* out) {
    *out << c.name;
}

const ChangeCase kChanges[] = {
    {"a new key comes first", "[s]\na=1\n[t]", [](auto& f) { f.WriteString("s", "b", " 2 "); },
     "[s]\r\r\nb= 2 \r\r\na=1\r\r\n[t]\r\r\n"},
    {"a new section comes last", "; c\n\n[s]\na=1", [](auto& f) { f.WriteString("t", "b", "2"); },
     "; c\r\r\n[s]\r\r\na=1\r\r\n[t]\r\r\nb=2\r\r\n"},
    {"a known key keeps its line, in the caller's spelling", "[S]\nKey=1\nb=2",
     [](auto& f) { f.WriteString("s", "kEY", "3"); }, "[S]\r\r\nkEY=3\r\r\nb=2\r\r\n"},
    {"a new key of a section in another case is the second line", "[x]\n[S]\na=1",
     [](auto& f) { f.WriteString("s", "b", "2"); }, "[x]\r\r\nb=2\r\r\n[S]\r\r\na=1\r\r\n"},
    {"a new key before the first header is the second line", "a=1\n[S]",
     [](auto& f) { f.WriteString("", "b", "2"); }, "a=1\r\r\nb=2\r\r\n[S]\r\r\n"},
    {"an added section takes its first key", "[s]",
     [](auto& f) {
         f.AddSection("t");
         f.AddSection("s");
         f.WriteString("t", "b", "2");
     },
     "[s]\r\r\n[t]\r\r\nb=2\r\r\n[s]\r\r\n"},
    {"deleting shows the earlier of equal keys", "[s]\nk=1\nk=2",
     [](auto& f) {
         f.DeleteKey("S", "K");
         EXPECT_EQ(f.ReadString("s", "k", ""), "1");
         f.DeleteKey("s", "other");
     },
     "[s]\r\r\nk=1\r\r\n"},
    {"erasing takes the last header of the name up to the next", "[s]\na=1\n[s]\n;c\nb=2\n[t]\nc=3",
     [](auto& f) {
         f.EraseSection("S");
         f.EraseSection("none");
     },
     "[s]\r\r\na=1\r\r\n[t]\r\r\nc=3\r\r\n"},
    {"an earlier header of the name does not stop erasing", "[a]\nx=1\n[b]\ny=2\n[b]\nz=3",
     [](auto& f) { f.EraseSection("a"); }, "[b]\r\r\nz=3\r\r\n"},
    {"clearing leaves nothing", "[s]\na=1", [](auto& f) { f.Clear(); }, ""},
    {"a line feed in a value", "", [](auto& f) { f.WriteString("s", "k", "a\nb"); },
     "[s]\r\r\nk=a\r\nb\r\r\n"},
};

class MemIniChange : public testing::TestWithParam<ChangeCase> {};

TEST_P(MemIniChange, WritesBackTheseLines) {
    const TempFolder folder;
    CMemIniFile file(folder.Write("a.ini", GetParam().before), false);
    GetParam().change(file);
    file.UpdateFile();
    EXPECT_EQ(folder.Read("a.ini"), GetParam().after);
}
INSTANTIATE_TEST_SUITE_P(MemIniFile, MemIniChange, testing::ValuesIn(kChanges));

TEST(MemIniFile, ReadsBackTheLinesThatItWrote) {
    const TempFolder folder;
    CMemIniFile file(folder.Write("a.ini", "\n; c\n\n x=1\n[s]\n  k = v \njunk\n\n"), true);
    file.UpdateFile();
    const std::string written = folder.Read("a.ini");
    EXPECT_EQ(written, "; c\r\r\nx=1\r\r\n[s]\r\r\nk = v\r\r\njunk\r\r\n");
    file.SetFileName(folder.Path("a.ini"));
    file.UpdateFile();
    EXPECT_EQ(folder.Read("a.ini"), written);
}

TEST(MemIniFile, HoldsEachOperationToItsRuleOfCase) {
    const TempFolder folder;
    const CString path = folder.Write("a.ini", "[Abc]\nKey=1\n; c\n[x]");
    struct {
        bool caseSensitive;
        const char* section;
        const char* key;
        const char* value;
        std::size_t lines;
        bool exists;
    } const cases[] = {
        {true, "Abc", "Key", "1", 2, true},   {true, "abc", "key", "", 0, false},
        {false, "Abc", "Key", "1", 2, true},  {false, "ABC", "KEY", "1", 2, false},
        {false, "none", "Key", "", 0, false},
    };
    for (const auto& c : cases) {
        CMemIniFile file(path, c.caseSensitive);
        EXPECT_EQ(file.ReadString(c.section, c.key, ""), c.value);
        EXPECT_EQ(file.ReadSectionValues(c.section).size(), c.lines);
        EXPECT_EQ(file.SectionExists(c.section), c.exists);
        EXPECT_EQ(file.ValueExists(c.section, c.key), c.exists);
        EXPECT_EQ(file.ReadSection(c.section).size(), c.exists ? 1U : 0U);
    }
}

TEST(MemIniFile, ListsRepeatedNamesAndNotTheKeysBeforeTheFirstHeader) {
    const TempFolder folder;
    CMemIniFile file(folder.Write("a.ini", "k=0\n[s]\nk=1\nk=2\n[t]\n[s]\nj=3"), true);
    EXPECT_EQ(file.ReadSections(), (std::vector<CString>{"s", "t", "s"}));
    EXPECT_EQ(file.ReadSection("s"), (std::vector<CString>{"k", "k", "j"}));
    EXPECT_TRUE(file.ReadSection("").empty());
    EXPECT_FALSE(file.SectionExists(""));
}

TEST(MemIniFile, LoadsAHundredThousandKeysAndALineOfAMegabyte) {
    std::string text = "[long]\nlong=" + std::string(1 << 20, 'x') + "\n[keys]\n";
    for (int i = 0; i < 100000; ++i) {
        text += "Key" + std::to_string(i) + "=" + std::to_string(i * 2) + "\n";
    }
    const TempFolder folder;
    CMemIniFile file(folder.Write("a.ini", text), false);
    EXPECT_EQ(file.ReadString("long", "long", "").GetLength(), 1 << 20);
    EXPECT_EQ(file.ReadInteger("keys", "key99999", 0), 199998);
    EXPECT_EQ(file.ReadSection("keys").size(), 100000U);
}

TEST(NameIndex, FindsIgnoringCaseWhatALinearWalkFinds) {
    std::mt19937 random(3);
    const auto name = [&] {
        std::string text;
        for (std::size_t length = random() % 4; text.size() < length;) {
            text += "aAbB"[random() % 4];
        }
        return text;
    };
    for (int round = 0; round < 50; ++round) {
        CNameIndex index;
        std::map<std::string, int> walked;
        for (int number = 0; number < 30; ++number) {
            const std::string added = name();
            index.Set(added, number);
            walked[added] = number;
            const std::string wanted = name();
            const auto exact = walked.find(wanted);
            EXPECT_EQ(index.Find(wanted), exact == walked.end() ? -1 : exact->second);
            int expected = -1;
            for (const auto& [other, value] : walked) {
                if (_stricmp(other.c_str(), wanted.c_str()) == 0) {
                    expected = value;
                    break;
                }
            }
            EXPECT_EQ(index.FindNoCase(wanted), expected) << wanted;
        }
    }
}

}  // namespace
}  // namespace Terrascope
