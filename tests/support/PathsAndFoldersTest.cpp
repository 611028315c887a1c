#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

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
    const CString here = CurrentDirectory();
    const std::string long255(255, 'a');
    const std::string long256(256, 'a');
    const std::string long300(300, 'a');
    struct {
        CString path;
        CString base;
        CString joined;
    } const cases[] = {
        {"maps", "C:\\data", "C:\\data\\maps"},
        {"..\\maps\\.\\a", "C:\\data\\b\\", "C:\\data\\maps\\a"},
        {"..\\..\\..\\a", "C:\\data", "C:\\a"},
        {"D:\\other", "C:\\data", "D:\\other"},
        {"a/b", "C:\\data", "C:\\data\\a\\b"},
        {"\xD5\x5C", "C:\\data", "C:\\data\\\xD5\x5C"},
        {"maps", "", here + "\\maps"},
        {long255.c_str(), "C:\\d", "C:\\d\\" + CString(long255.c_str())},  // 260: see below
        {long256.c_str(), "C:\\d", long256.c_str()},
        {long300.c_str(), "C:\\d", long300.c_str()},
        {"a/b", long300.c_str(), "a/b"},
    };
    for (const auto& c : cases) {
        const CString joined = MakeAbsolutePath(c.path, c.base);
        // 259 bytes are the most that a result holds.
        EXPECT_EQ(joined, c.joined.GetLength() < MAX_PATH ? c.joined : c.path);
    }
    EXPECT_EQ(MakeAbsolutePath("a/b", "C:\\data"), "C:\\data\\a/b");
    const std::string long254(254, 'a');
    EXPECT_EQ(MakeAbsolutePath(long254.c_str(), "C:\\d").GetLength(), 259);
}

TEST(Paths, MakesRelativePathsWithinADrive) {
    const CString here = CurrentDirectory();
    const CString tooLong = "C:\\" + CString('a', 300);
    struct {
        CString path;
        CString base;
        CString relative;
    } const cases[] = {
        {"C:\\data\\maps\\a.ini", "C:\\data", ".\\maps\\a.ini"},
        {"C:\\data\\maps\\a.ini", "C:\\data\\", ".\\maps\\a.ini"},
        {"C:\\Data\\a.ini", "c:\\dATA\\maps", "..\\a.ini"},
        {"D:\\a.ini", "C:\\data", "D:\\a.ini"},
        {here + "\\a.ini", "", ".\\a.ini"},
        {tooLong, "C:\\data", tooLong},
        {"C:\\a.ini", tooLong, "C:\\a.ini"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(MakeRelativePath(c.path, c.base), c.relative);
        EXPECT_EQ(MakeRelativePath(c.path.GetString(), c.base.GetString()), c.relative);
    }
    EXPECT_TRUE(IsRelativePath("a\\b"));
    EXPECT_FALSE(IsRelativePath("C:\\b"));
}

TEST(Paths, FindBackslashesOnlyWhereTheyAreCharacters) {
    const bool two = HasTwoByteCharacters();
    EXPECT_EQ(TextBeforeLastBackslash("C:\\a\\x\xD5\x5Cy"), two ? "C:\\a" : "C:\\a\\x\xD5");
    EXPECT_EQ(WithoutTrailingBackslash("C:\\x\xD5\x5C"), two ? "C:\\x\xD5\x5C" : "C:\\x\xD5");
    EXPECT_EQ(TextBeforeLastBackslash("name"), "");
    EXPECT_EQ(WithoutTrailingBackslash(""), "");
}

TEST(Paths, FallBackToTheirOwnModule) {
    EXPECT_EQ(OwnModule(), ::GetModuleHandleA(nullptr));
    EXPECT_EQ(GetModuleFolderPath("no such module"), ModuleFolder(nullptr));
    EXPECT_EQ(GetModuleFolderPath(""), ModuleFolder(nullptr));
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
    const auto find = [&](const Names& extensions, bool folders) {
        Names found{"first"};
        FindFiles(folder.Path(), extensions, found, folders);
        return found;
    };
    const auto in = [&](std::initializer_list<const char*> names) {
        Names paths{"first"};
        for (const char* name : names) {
            paths.push_back(folder.Path(name));
        }
        return paths;
    };
    const auto sorted = [](Names names) {
        names.sort([](const CString& a, const CString& b) { return a.Compare(b) < 0; });
        return names;
    };
    EXPECT_EQ(sorted(find({}, false)),
              sorted(in({"a.ini", "b\\deep.d\\y.tar.gz", "b\\x.png", "c.PNG", "noext"})));
    EXPECT_EQ(sorted(find({"png", "gz"}, false)),
              sorted(in({"b\\deep.d\\y.tar.gz", "b\\x.png", "c.PNG"})));
    const Names withFolders = find({"gz"}, true);
    EXPECT_EQ(withFolders, in({"b", "b\\deep.d", "b\\deep.d\\y.tar.gz"})) << "folders come first";
    EXPECT_EQ(ListSubdirectories(folder.Path()), Names{"b"});
    EXPECT_TRUE(ListSubdirectories(folder.Path("a.ini")).empty());
    EXPECT_EQ(CurrentDirectory(), before);
}

}  // namespace
}  // namespace Terrascope
