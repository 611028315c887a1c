#include <gtest/gtest.h>

#include <list>

#include "TempFolder.h"
#include "terrascope/support/Folders.h"
#include "terrascope/support/Paths.h"

namespace Terrascope {
namespace {

using Names = std::list<CString>;

CString CurrentDirectory() {
    char buffer[MAX_PATH] = "";
    ::GetCurrentDirectoryA(MAX_PATH, buffer);
    return buffer;
}

TEST(Paths, JoinsToAnAbsolutePath) {
    const CString long255('a', 255);
    const CString long300('a', 300);
    const CString cases[][3] = {
        {"..\\maps\\.\\a", "C:\\data\\b\\", "C:\\data\\maps\\a"},
        {"..\\..\\..\\a", "C:\\data", "C:\\a"},
        {"D:\\other", "C:\\data", "D:\\other"},
        {"a/b", "C:\\data", "C:\\data\\a\\b"},
        {"\xD5\x5C", "C:\\data", "C:\\data\\\xD5\x5C"},
        {"maps", "", CurrentDirectory() + "\\maps"},
        {long255, "C:\\", "C:\\" + long255},  // 258 bytes
        {long255, "C:\\d", long255},          // 260: too long
        {long300, "C:\\d", long300},
        {"a/b", long300, "a/b"},
    };
    for (const auto& [path, base, joined] : cases) {
        EXPECT_EQ(MakeAbsolutePath(path, base), joined);
    }
    EXPECT_EQ(MakeAbsolutePath("a/b", "C:\\data"), "C:\\data\\a/b");
}

TEST(Paths, MakesRelativePathsWithinADrive) {
    const CString tooLong = "C:\\" + CString('a', 300);
    const CString cases[][3] = {
        {"C:\\data\\maps\\a.ini", "C:\\data\\", ".\\maps\\a.ini"},
        {"C:\\Data\\a.ini", "c:\\dATA\\maps", "..\\a.ini"},
        {"D:\\a.ini", "C:\\data", "D:\\a.ini"},
        {CurrentDirectory() + "\\a.ini", "", ".\\a.ini"},
        {tooLong, "C:\\data", tooLong},
        {"C:\\a.ini", tooLong, "C:\\a.ini"},
    };
    for (const auto& [path, base, relative] : cases) {
        EXPECT_EQ(MakeRelativePath(path, base), relative);
        EXPECT_EQ(MakeRelativePath(path.GetString(), base.GetString()), relative);
    }
    EXPECT_TRUE(IsRelativePath("a\\b"));
    EXPECT_FALSE(IsRelativePath("C:\\b"));
}

TEST(Paths, FindBackslashesOnlyWhereTheyAreCharacters) {
    const bool two = HasTwoByteCharacters();
    EXPECT_EQ(TextBeforeLastBackslash("C:\\a\\x\xD5\x5Cy"), two ? "C:\\a" : "C:\\a\\x\xD5");
    EXPECT_EQ(WithoutTrailingBackslash("C:\\x\xD5\x5C"), two ? "C:\\x\xD5\x5C" : "C:\\x\xD5");
    EXPECT_EQ(TextBeforeLastBackslash("name"), "");
}

TEST(Paths, FallBackToTheirOwnModule) {
    EXPECT_EQ(GetModuleFolderPath("no such module"), ModuleFolder(nullptr));
    EXPECT_EQ(GetModuleFolderPath("kernel32").Right(9).CompareNoCase("\\system32"), 0);
}

TEST(Folders, AreMadeWithAllAboveThem) {
    const TempFolder folder;
    EXPECT_TRUE(CreateDirectories(folder.Path("a\\b\\c\\")));
    EXPECT_TRUE(IsDirectory(folder.Path("a\\b\\c")));
    EXPECT_TRUE(CreateDirectories(folder.Path("a\\b")));
    EXPECT_TRUE(CreateDirectories("a bare name"));
    EXPECT_FALSE(IsDirectory("a bare name"));
    folder.Write("file", "");
    EXPECT_FALSE(IsDirectory(folder.Path("file")));
    EXPECT_FALSE(CreateDirectories(folder.Path("file\\d")));
    for (const int length : {259, 260, 300}) {
        // What the system takes differs; the answers must be true, and no buffer may overrun.
        const CString path =
            folder.Path() + "\\" + CString('a', length - folder.Path().GetLength() - 1);
        const bool made = CreateDirectories(path);
        EXPECT_EQ(made, IsDirectory(path)) << length;
        const bool gone = DeleteFolder(path);
        EXPECT_EQ(gone, !made) << length;
        ::RemoveDirectoryA(path);
    }
}

TEST(Folders, AreDeletedWithReadOnlyFilesInThem) {
    const TempFolder folder;
    CreateDirectories(folder.Path("tree\\below"));
    const CString file = folder.Write("tree\\below\\file", "x");
    const CString other = folder.Write("tree\\other", "x");
    ::SetFileAttributesA(file, FILE_ATTRIBUTE_READONLY);
    ::SetFileAttributesA(other, FILE_ATTRIBUTE_READONLY);
    EXPECT_TRUE(ForceDeleteFile(other));
    EXPECT_FALSE(ForceDeleteFile(other));
    EXPECT_TRUE(DeleteFolder(folder.Path("tree")));
    EXPECT_FALSE(IsDirectory(folder.Path("tree")));
    EXPECT_TRUE(DeleteFolder(folder.Path("tree")));
}

TEST(Folders, AreSearchedThroughAndListed) {
    const TempFolder folder;
    const CString before = CurrentDirectory();
    CreateDirectories(folder.Path("b\\deep.d"));
    for (const char* name : {"a.ini", "c.PNG", "noext", "b\\x.png", "b\\deep.d\\y.tar.gz"}) {
        folder.Write(name, "");
    }
    const auto expectFound = [&](const Names& extensions, bool folders, const Names& expected) {
        Names found;
        FindFiles(folder.Path(), extensions, found, folders);
        found.sort([](const CString& a, const CString& b) { return a.Compare(b) < 0; });
        for (CString& path : found) {
            path = path.Mid(folder.Path().GetLength() + 1);
        }
        EXPECT_EQ(found, expected);
    };
    expectFound({}, false, {"a.ini", "b\\deep.d\\y.tar.gz", "b\\x.png", "c.PNG", "noext"});
    expectFound({"png", "GZ"}, false, {"b\\deep.d\\y.tar.gz", "b\\x.png", "c.PNG"});
    expectFound({"gz"}, true, {"b", "b\\deep.d", "b\\deep.d\\y.tar.gz"});
    EXPECT_EQ(ListSubdirectories(folder.Path()), Names{"b"});
    EXPECT_EQ(CurrentDirectory(), before);
}

}  // namespace
}  // namespace Terrascope
