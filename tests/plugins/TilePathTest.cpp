#include "plugins/common/TilePathTemplate.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <sstream>

#include "plugins/common/SafePath.h"

namespace {

using namespace Terrascope::Plugins;

std::string Expand(const char* pattern) {
    std::string reason;
    const auto parsed = TilePathTemplate::Parse(pattern, reason);
    if (!parsed)
        return "refused: it " + reason;
    return parsed->Expand(*ParseTileKey("0123"), "0123", "png").value_or("no such tile");
}

TEST(TilePathTemplate, ExpandsFields) {
    // Key 0123: column 0101, row 0011 in binary.
    EXPECT_EQ("3\\5\\3.png", Expand("{layer-1}\\{column}\\{row:1}.{format}"));
    EXPECT_EQ("q0123/000003_13.jpg0x", Expand("q{key}/{row:6}_{row+10:2}.jpg{layer-4}x"));
    EXPECT_EQ("no such tile", Expand("{row-4}"));
}

TEST(TilePathTemplate, RefusesWhatItCannotRead) {
    std::istringstream patterns(
        " { } {layer layer} {{layer}} {} {zoom} {Layer} {layer:} {layer:x} {layer:-1} {layer:21} "
        "{layer:99999999999999999999} {layer-} {layer+-1} {layer-1000001} {key:3} {layer:2-1}");
    for (std::string pattern; std::getline(patterns, pattern, ' ');)
        EXPECT_EQ(0u, Expand(pattern.c_str()).find("refused: it ")) << pattern;
    EXPECT_EQ(0u, Expand(std::string(1025, 'x').c_str()).find("refused: it "));
    EXPECT_EQ("refused: it has the unknown field '{zoom}'", Expand("{zoom}"));
}

TEST(ParseTileKey, TakesKeysOfOneToThirtyQuadrants) {
    EXPECT_EQ((1u << 30) - 1, ParseTileKey(std::string(30, '3'))->column);
    using namespace std::literals;
    for (const auto& key : {""s, "4"s, "0a"s, "0 "s, "..\\0"s, "0\0001"s, std::string(31, '0')})
        EXPECT_FALSE(ParseTileKey(key)) << key;
}

TEST(JoinUnder, TakesPlainNamesOnly) {
    const std::wstring folder = L"C:\\maps\\one";
    EXPECT_EQ(folder + L"\\1\\2 3\\4.5.jpg", JoinUnder(folder, "1\\2 3/4.5.jpg"));
    EXPECT_EQ(folder + L"\\.hidden\\console.jpg", JoinUnder(folder, ".hidden\\console.jpg"));

    std::istringstream escapes(
        R"(;\;..;..\x;1\..\..\x;1/../x;.;1\.\x;...;1\.. \x;\x;/x;1\\x;x\;\\server\x;\\?\C:\x;C:x;)"
        R"(C:\x;x:stream;x.jpg.;x.jpg ;*.jpg;?.jpg;1|x;<x;"x";con;NUL.jpg;1\Aux\x;com1;COM0;)"
        R"(lpt9.tar.gz;nul .jpg;conin$)"
        "; x\tx");
    for (std::string escape; std::getline(escapes, escape, ';');)
        EXPECT_EQ(std::nullopt, JoinUnder(folder, escape)) << '"' << escape << '"';
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
