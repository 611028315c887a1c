#include "platform/base/GlobalFunc.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/fixtures/TemporaryFolder.h"

namespace {

TEST(GlobalFunc, AModulesFolderEndsInABackslash) {
    char path[MAX_PATH] = "";
    ASSERT_TRUE(GlobalFunc::GetModulePath(nullptr, path, sizeof(path)));
    const std::string folder = path;
    EXPECT_EQ(folder.back(), '\\');
    EXPECT_NE(::GetFileAttributesA((folder + "PlatformTest.exe").c_str()), INVALID_FILE_ATTRIBUTES);

    // Every size that is too small is refused, and nothing is written behind it.
    for (unsigned size = 0; size <= folder.size(); ++size) {
        std::string buffer(folder.size() + 1, '#');
        EXPECT_FALSE(GlobalFunc::GetModulePath(nullptr, buffer.data(), size)) << size;
        EXPECT_EQ(buffer.find_last_not_of('#') + 1 <= size, true) << size;
        EXPECT_EQ(size == 0 || buffer[0] == '\0', true) << size;
    }
}

TEST(GlobalFunc, MakesSureOfAFolder) {
    const TerrascopeTest::TemporaryFolder folder;
    for (const char* name : {"log", "log", "log/inner/"})
        EXPECT_TRUE(GlobalFunc::IsDirectoryCreated((folder / name).c_str())) << name;
    EXPECT_TRUE(GlobalFunc::IsDirectoryCreated((folder / "log\\inner").c_str()));
    EXPECT_FALSE(GlobalFunc::IsDirectoryCreated((folder / "no\\parent").c_str()));
    EXPECT_FALSE(GlobalFunc::IsDirectoryCreated(folder.WriteFile("file", "").c_str()));
}

}  // namespace
