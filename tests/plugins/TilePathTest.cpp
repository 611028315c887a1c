#include "plugins/common/TilePathTemplate.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <sstream>

#include "plugins/common/SafePath.h"

namespace {

using namespace Terrascope::Plugins;

std::string Expand(const std::string& pattern) {
    std::string reason;
    const auto parsed = TilePathTemplate::Parse(pattern, reason);
    return parsed ? parsed->Expand(4, {5, 3, 12}, "0123", "png").value_or("no such tile")
                  : "refused: it " + reason;
}

TEST(TilePathTemplate, ExpandsFieldsAndRefusesWhatItCannotRead) {
    EXPECT_EQ("3\\5\\3.png", Expand("{layer-1}\\{column}\\{row:1}.{format}"));
    EXPECT_EQ("q0123/000003_13.jpg0x", Expand("q{key}/{row:6}_{row+10:2}.jpg{layer-4}x"));
    EXPECT_EQ("12 011", Expand("{row-from-bottom} {row-from-bottom-1:3}"));
    EXPECT_EQ("no such tile", Expand("{row-4}"));
    EXPECT_EQ("refused: it has the unknown field '{zoom}'", Expand("{zoom}"));
    std::istringstream patterns(
        " { } {layer layer} {{layer}} {} {Layer} {layer:} {layer:x} {layer:-1} {layer:21} "
        "{layer:99999999999999999999} {layer-} {layer+-1} {layer-1000001} {key:3} {layer:2-1} " +
        std::string(1025, 'x'));
    for (std::string pattern; std::getline(patterns, pattern, ' ');) {
        EXPECT_EQ(0U, Expand(pattern).find("refused: it ")) << pattern;
    }
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
    for (std::string escape; std::getline(escapes, escape, ';');) {
        EXPECT_EQ(std::nullopt, JoinUnder(folder, escape)) << '"' << escape << '"';
    }
    if (::GetACP() == 936) {
        // D5 5C is one character whose second byte looks like a backslash.
        const auto path = JoinUnder(L"C:", "\xD5\x5C\\x");
        ASSERT_TRUE(path);
        EXPECT_EQ(6U, path->size());
        EXPECT_EQ(std::nullopt, JoinUnder(L"C:", "x\x81/..\x81/x")) << "no valid text";
    }
}

}  // namespace
