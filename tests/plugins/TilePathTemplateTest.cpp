#include "plugins/common/TilePathTemplate.h"

#include <gtest/gtest.h>

#include <sstream>

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
    const auto address = ParseTileKey("12");
    ASSERT_TRUE(address);
    EXPECT_EQ(2, address->layer);
    EXPECT_EQ(2u, address->column);
    EXPECT_EQ(1u, address->row);
    EXPECT_EQ((1u << 30) - 1, ParseTileKey(std::string(30, '3'))->column);
    for (const std::string& key :
         {std::string(), std::string("4"), std::string("0a"), std::string("0 "),
          std::string("..\\0"), std::string("0\0001", 3), std::string(31, '0')})
        EXPECT_FALSE(ParseTileKey(key)) << key;
}

}  // namespace
