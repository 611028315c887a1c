#include "platform/base/GlobalFunc.h"

#include <gtest/gtest.h>

namespace {

TEST(GlobalFunc, WritesAModulesFolderOnlyWhereItFits) {
    char path[MAX_PATH] = "";
    ASSERT_TRUE(GlobalFunc::GetModulePath(nullptr, path, sizeof(path)));
    const std::string folder = path;
    EXPECT_NE(INVALID_FILE_ATTRIBUTES,
              ::GetFileAttributesA((folder + "platform_test.exe").c_str()));
    for (unsigned size = 0; size <= folder.size(); ++size) {
        std::string buffer(folder.size() + 1, '#');
        EXPECT_FALSE(GlobalFunc::GetModulePath(nullptr, buffer.data(), size)) << size;
        EXPECT_LE(buffer.find_last_not_of('#') + 1, size);
    }
}

}  // namespace
