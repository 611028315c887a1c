#include "plugins/common/SafePath.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

using namespace Terrascope::Plugins;

TEST(JoinUnder, TakesPlainNamesOnly) {
    const std::wstring folder = L"C:\\maps\\one";
    EXPECT_EQ(folder + L"\\1\\2 3\\4.5.jpg", JoinUnder(folder, "1\\2 3/4.5.jpg"));
    EXPECT_EQ(folder + L"\\.hidden\\console.jpg", JoinUnder(folder, ".hidden\\console.jpg"));

    std::istringstream escapes(
        R"(;\;..;..\x;1\..\..\x;1/../x;.;1\.\x;...;1\.. \x;\x;/x;1\\x;x\;\\server\x;\\?\C:\x;C:x;)"
        R"(C:\x;x:stream;x.jpg.;x.jpg ;*.jpg;?.jpg;1|x;<x;"x";con;NUL.jpg;1\Aux\x;com1;COM0;)"
        R"(lpt9.tar.gz;nul .jpg;conin$)"
        "; x\tx");
    for (std::string escape; std::getline(escapes, escape, ';');) {
        EXPECT_EQ(std::nullopt, JoinUnder(folder, escape)) << '"' << escape << '"';
    }
}

TEST(JoinUnder, LooksAtCharactersAndNotAtBytes) {
    if (::GetACP() != 936)
        GTEST_SKIP() << "needs two-byte characters";
    // D5 5C is one character whose second byte looks like a backslash.
    const auto path = JoinUnder(L"C:", "\xD5\x5C\\x");
    ASSERT_TRUE(path);
    EXPECT_EQ(6u, path->size());
    EXPECT_EQ(std::nullopt, JoinUnder(L"C:", "x\x81/..\x81/x")) << "no valid text";
}

}  // namespace
