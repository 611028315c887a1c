#include <gtest/gtest.h>

#include <list>

#include "terrascope/support/files/Folders.h"
#include "terrascope/support/files/Paths.h"
#include "tests/fixtures/TemporaryFolder.h"

namespace Terrascope {
namespace {

using TerrascopeTest::TemporaryFolder;
using Names = std::list<CString>;

CString CurrentDirectory() {
    char buffer[MAX_PATH] = "";
    ::GetCurrentDirectoryA(MAX_PATH, buffer);
    return buffer;
}

TEST(Paths, JoinsToAnAbsolutePath) {
    const CString long255('a', 255);
    const CString awkward = TerrascopeTest::HasUtf8() ? "\xE4\xB8\xAD" : "\xD5\x5C";
    const CString cases[][3] = {
        {"..\\maps\\.\\a", "C:\\data\\b\\", "C:\\data\\maps\\a"},
        {"..\\..\\..\\a", "C:\\data", "C:\\a"},
        {"D:\\other", "C:\\data", "D:\\other"},
        {"a/b", "C:\\data", "C:\\data\\a\\b"},
        {awkward, "C:\\data", "C:\\data\\" + awkward},
        {"maps", "", CurrentDirectory() + "\\maps"},
        {long255, "C:\\", "C:\\" + long255},  // 258 bytes
        {long255, "C:\\d", long255},          // 260: too long
    };
    for (const auto& [path, base, joined] : cases) {
        EXPECT_EQ(joined, MakeAbsolutePath(path, base));
    }
    EXPECT_EQ("C:\\data\\a/b", MakeAbsolutePath("a/b", "C:\\data"));
}

TEST(Paths, MakesRelativePathsWithinADrive) {
    const CString tooLong = "C:\\" + CString('a', 300);
    const CString cases[][3] = {
        {"C:\\data\\maps\\a.ini", "C:\\data\\", ".\\maps\\a.ini"},
        {"C:\\Data\\a.ini", "c:\\dATA\\maps", "..\\a.ini"},
        {"D:\\a.ini", "C:\\data", "D:\\a.ini"},
        {CurrentDirectory() + "\\a.ini", "", ".\\a.ini"},
        {tooLong, "C:\\data", tooLong},
    };
    for (const auto& [path, base, relative] : cases) {
        EXPECT_EQ(relative, MakeRelativePath(path, base));
    }
}

TEST(Paths, FindBackslashesOnlyWhereTheyAreCharacters) {
    const bool two = TerrascopeTest::HasTwoByteCharacters();
    EXPECT_EQ(two ? "C:\\a" : "C:\\a\\x\xD5", TextBeforeLastBackslash("C:\\a\\x\xD5\x5Cy"));
    EXPECT_EQ(two ? "C:\\x\xD5\x5C" : "C:\\x\xD5", WithoutTrailingBackslash("C:\\x\xD5\x5C"));
    EXPECT_EQ(ModuleFolder(nullptr), GetModuleFolderPath("no such module"));
    EXPECT_EQ(0, GetModuleFolderPath("kernel32").Right(9).CompareNoCase("\\system32"));
}

TEST(Folders, AreMadeWithAllAboveThemAndDeletedWithAllInThem) {
    const TemporaryFolder folder{TerrascopeTest::FolderName::Awkward};
    const CString root = folder.Path().c_str();
    EXPECT_TRUE(CreateDirectories(root + "\\a\\b\\c\\") && IsDirectory(root + "\\a\\b\\c"));
    EXPECT_TRUE(CreateDirectories("a bare name") && !IsDirectory("a bare name"));
    const CString file = folder.WriteFile("a\\b\\file", "").c_str();
    const CString other = folder.WriteFile("a\\other", "").c_str();
    ::SetFileAttributesA(file, FILE_ATTRIBUTE_READONLY);
    ::SetFileAttributesA(other, FILE_ATTRIBUTE_READONLY);
    EXPECT_FALSE(IsDirectory(file) || CreateDirectories(file + "\\d"));
    EXPECT_TRUE(ForceDeleteFile(other) && !ForceDeleteFile(other));
    EXPECT_TRUE(DeleteFolder(root + "\\a") && !IsDirectory(root + "\\a"));
    EXPECT_TRUE(DeleteFolder(root + "\\a"));
    for (const int length : {259, 260, 300}) {  // what the system takes differs
        const CString path = root + "\\" + CString('a', length - root.GetLength() - 1);
        const bool made = CreateDirectories(path);
        EXPECT_EQ(IsDirectory(path), made) << length;
        EXPECT_EQ(!made, DeleteFolder(path)) << length;
        ::RemoveDirectoryA(path);
    }
}

TEST(Folders, AreSearchedListedAndDeletedWithoutFollowingLinks) {
    const TemporaryFolder folder{TerrascopeTest::FolderName::Awkward};
    const CString root = (folder / "tree").c_str();
    const CString kept = folder.WriteFile("out\\kept", "").c_str();
    const CString before = CurrentDirectory();
    for (const char* name : {"a.ini", "c.PNG", "noext", "b\\x.png", "b\\deep.d\\y.tar.gz"}) {
        folder.WriteFile(std::string("tree\\") + name, "");
    }
    folder.WriteFile("files\\x", "");
    folder.MakeLink("tree\\b\\away", "..\\..\\out");
    folder.MakeLink("tree\\b\\loop", "..");
    folder.MakeLink("tree\\b\\deep.d\\loop", "..\\..");
    folder.MakeLink("files\\link", "..\\out\\kept");
    const auto expectFound = [&](const Names& expected, const Names& extensions, bool folders) {
        Names found;
        FindFiles(root, extensions, found, folders);
        found.sort([](const CString& a, const CString& b) { return a.Compare(b) < 0; });
        for (CString& path : found) {
            path = path.Mid(root.GetLength() + 1);
        }
        EXPECT_EQ(expected, found);
    };
    expectFound({"a.ini", "b\\deep.d\\y.tar.gz", "b\\x.png", "c.PNG", "noext"}, {}, false);
    expectFound({"b\\deep.d\\y.tar.gz", "b\\x.png", "c.PNG"}, {"png", "GZ"}, false);
    expectFound({"b", "b\\away", "b\\deep.d", "b\\deep.d\\loop", "b\\deep.d\\y.tar.gz", "b\\loop"},
                {"gz"}, true);
    EXPECT_EQ((Names{"away", "deep.d", "loop"}), ListSubdirectories(root + "\\b"));
    EXPECT_EQ(before, CurrentDirectory());
    // A link goes itself, or stays where the system cannot delete it.
    for (const CString& path : {root + "\\b\\away", CString((folder / "files").c_str()), root}) {
        const bool deleted = DeleteFolder(path);
        EXPECT_EQ(!IsDirectory(path), deleted) << path;
        EXPECT_NE(INVALID_FILE_ATTRIBUTES, ::GetFileAttributesA(kept)) << path;
    }
}

}  // namespace
}  // namespace Terrascope
