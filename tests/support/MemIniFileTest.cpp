#include "terrascope/support/MemIniFile.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <regex>

#include "TempFolder.h"
#include "terrascope/support/NameIndex.h"

namespace Terrascope {
namespace {

using namespace std::string_literals;

struct LookupCase {
    const char* name;
    std::string file;
    const char* section;
    const char* key;
    const char* value;
};

const LookupCase kLookups[] = {
    {"blanks in a header", "[ \ta b ]\nk=v", "a b", "k", "v"},
    {"blanks round the equals sign", "[s]\r\n  k \t = v ", "s", "k", " v"},
    {"an equals sign in the value", "[s]\na==b", "s", "a", "=b"},
    {"an equals sign in the first column", "[s]\n=b", "s", "", ""},
    {"comments are keys when they look so", "[s]\n;a=b", "s", ";a", "b"},
    {"an open bracket is no header", "[s]\n[open\nk=v", "s", "k", "v"},
    {"keys before the first header", "k=v\n[s]", "", "k", "v"},
    {"the later of equal keys", "[s]\nk=1\nk=2", "s", "k", "2"},
    {"headers of one name are one section", "[s]\na=1\n[t]\n[s]\nb=2", "s", "a", "1"},
    {"line ends that this program writes", "[s]\r\r\n\r\r\nk=v\r\r\n", "s", "k", "v"},
    {"a byte-order mark hides the header", "\xEF\xBB\xBF[s]\nk=v\n[t]\nx=y", "", "k", "v"},
    {"the end mark of old editors", "[s]\nk=v\n\x1A\nk=w", "s", "k", "v"},
    {"a zero byte ends its line", "[s]\nk=v\0w\nl=x"s, "s", "k", "v"},
    {"the line after a zero byte", "[s]\nk=v\0w\nl=x"s, "s", "l", "x"},
};

TEST(MemIniFile, FindsWhatTheFileHolds) {
    const TempFolder folder;
    for (const LookupCase& c : kLookups) {
        for (const bool caseSensitive : {false, true}) {
            CMemIniFile file(folder.Write("a.ini", c.file), caseSensitive);
            EXPECT_EQ(file.ReadString(c.section, c.key, "ignored"), c.value) << c.name;
        }
    }
    CMemIniFile file(folder.Write("a.ini", "[\xD5\x5D\nk=v"), true);
    EXPECT_EQ(file.ReadString(HasTwoByteCharacters() ? "" : "\xD5", "k", ""), "v");
}

struct ChangeCase {
    const char* name;
    const char* before;
    char operation;  // write, delete, erase, add
    const char *section, *key, *value;
    const char* after;  // "\n" stands for the line end that is written
};

const ChangeCase kChanges[] = {
    {"a new key comes first", "[s]\na=1", 'w', "s", "b", " 2 ", "[s]\nb= 2 \na=1\n"},
    {"a new section comes last", "; c\n\n[s]", 'w', "t", "b", "2", "; c\n[s]\n[t]\nb=2\n"},
    {"a known key keeps its line", "[S]\nKey=1\nb=2", 'w', "s", "kEY", "3", "[S]\nkEY=3\nb=2\n"},
    {"a section in another case", "[x]\n[S]\na=1", 'w', "s", "b", "2", "[x]\nb=2\n[S]\na=1\n"},
    {"before the first header", "a=1\n[S]", 'w', "", "b", "2", "a=1\nb=2\n[S]\n"},
    {"a section without keys", "[s]\n[t]", 'w', "s", "b", "2", "[s]\nb=2\n[t]\n"},
    {"a section is added again", "[s]\n[t]", 'a', "s", "", "", "[s]\n[t]\n[s]\n"},
    {"the later of equal keys goes", "[s]\nk=1\nk=2", 'd', "S", "K", "", "[s]\nk=1\n"},
    {"no such key", "[s]\nk=1", 'd', "s", "other", "", "[s]\nk=1\n"},
    {"the later of equal sections goes", "[s]\na=1\n[s]\n;c\nb=2\n[t]\nc=3", 'e', "S", "", "",
     "[s]\na=1\n[t]\nc=3\n"},
};

TEST(MemIniFile, WritesBackTheseLines) {
    const TempFolder folder;
    for (const ChangeCase& c : kChanges) {
        CMemIniFile file(folder.Write("a.ini", c.before), false);
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
        EXPECT_EQ(folder.Read("a.ini"), std::regex_replace(c.after, std::regex("\n"), "\r\r\n"))
            << c.name;
    }
}

TEST(MemIniFile, HoldsEachOperationToItsRuleOfCase) {
    const TempFolder folder;
    const CString path = folder.Write("a.ini", "[Abc]\nKey=1\n; c\n[x]");
    for (const bool caseSensitive : {true, false}) {
        for (const bool sameCase : {true, false}) {
            CMemIniFile file(path, caseSensitive);
            const CString section = sameCase ? "Abc" : "ABC";
            const CString key = sameCase ? "Key" : "KEY";
            const bool found = sameCase || !caseSensitive;
            EXPECT_EQ(file.ReadString(section, key, ""), found ? "1" : "");
            EXPECT_EQ(file.ReadSectionValues(section).size(), found ? 2U : 0U);
            EXPECT_EQ(file.SectionExists(section), sameCase);
            EXPECT_EQ(file.ValueExists(section, key), sameCase);
            EXPECT_EQ(file.ReadSection(section).size(), sameCase ? 1U : 0U);
        }
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
    const auto name = [&] { return std::string("aABb").substr(random() % 4, random() % 3); };
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
                const bool equal = _stricmp(other.c_str(), wanted.c_str()) == 0;
                expected = expected == -1 && equal ? value : expected;
            }
            EXPECT_EQ(index.FindNoCase(wanted), expected) << wanted;
        }
    }
}

}  // namespace
}  // namespace Terrascope
