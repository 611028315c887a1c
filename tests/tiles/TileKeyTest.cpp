#include "terrascope/tiles/TileKey.h"

#include <gtest/gtest.h>

namespace Terrascope {
namespace {

TEST(TileKey, GivesColumnAndRowUpToTheFirstWrongDigit) {
    const std::tuple<const char*, bool, unsigned, unsigned> cases[] = {
        {"", true, 0, 0},   {"3", true, 1, 1},  {"12", true, 2, 1},  {"4", true, 0, 2},
        {"41", true, 1, 4}, {"5", false, 0, 0}, {"-1", false, 0, 0}, {"1x3", false, 4, 0}};
    for (const auto& [key, valid, column, row] : cases) {
        TileIndex index;
        EXPECT_EQ(valid, DecodeTileKey(key, index)) << key;
        EXPECT_EQ(column, index.column) << key;
        EXPECT_EQ(row, index.row) << key;
    }
}

TEST(TileKey, OfAChildIsTheParentsWithOneDigitMore) {
    for (int layer = 1; layer <= 5; ++layer) {
        const std::uint32_t size = 1U << layer;
        for (std::uint32_t column = 0; column < size; ++column) {
            for (std::uint32_t row = 0; row < size; ++row) {
                const CString key = MakeTileKey(column, row, layer);
                TileIndex index;
                ASSERT_EQ(layer, key.GetLength());
                ASSERT_TRUE(DecodeTileKey(key, index));
                ASSERT_EQ(column, index.column);
                ASSERT_EQ(row, index.row);
                ASSERT_EQ(MakeTileKey(2 * column, 2 * row + 1, layer + 1), key + "2");
            }
        }
    }
}

TEST(TileKey, IsEmptyWhereNoTileCanBe) {
    for (const int layer : {0, -1, INT_MIN, kDeepestLayer + 1, INT_MAX}) {
        EXPECT_TRUE(MakeTileKey(5, 3, layer).IsEmpty()) << layer;
    }
    EXPECT_EQ(CString("1" + CString('0', 31)), MakeTileKey(0x80000000U, 0, 32));
}

}  // namespace
}  // namespace Terrascope
