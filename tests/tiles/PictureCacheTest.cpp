#include "terrascope/tiles/PictureCache.h"

#include <gtest/gtest.h>

#include <memory>

namespace Terrascope {
namespace {

constexpr std::size_t kTileBytes = 16 * 16 * 4;

CachedTile Tile(int width = 16) {
    return {CTilePicture::Create({width, 16}), TileIndex{3, 5}};
}

int LivePictures() {
    return CLiveCount<CTilePicture>::Live();
}

TEST(PictureCache, KeepsWhatWasUsedLastWithinTheLargestAllowance) {
    const CPictureCache::CHold none(0);
    EXPECT_EQ(nullptr, none.Get());
    auto small = std::make_unique<CPictureCache::CHold>(2 * kTileBytes);
    auto large = std::make_unique<CPictureCache::CHold>(3 * kTileBytes + 5);
    ASSERT_EQ(small->Get(), large->Get());
    CPictureCache& cache = *small->Get();
    for (const char* name : {"a", "b", "c"}) {
        cache.Put(name, Tile());
    }
    CachedTile used = cache.Take("a");
    ASSERT_TRUE(used.picture);
    EXPECT_EQ(5U, used.place.row);
    EXPECT_EQ(2 * kTileBytes, cache.Bytes());
    cache.Put("a", std::move(used));
    cache.Put("d", Tile());
    EXPECT_FALSE(cache.Take("b").picture) << "the longest unused";
    cache.Put("d", Tile());
    EXPECT_EQ(3 * kTileBytes, cache.Bytes()) << "a name has one picture";
    EXPECT_EQ(3, LivePictures());

    large.reset();
    EXPECT_EQ(2, LivePictures()) << "the smaller allowance holds from now on";
    EXPECT_FALSE(cache.Take("c").picture);
    EXPECT_TRUE(cache.Take("a").picture);
    cache.Put("too large", Tile(33));
    EXPECT_EQ(0U, cache.Bytes());

    cache.Put("f", Tile());
    CPictureCache::ForgetAll();
    EXPECT_EQ(0, LivePictures());
    EXPECT_EQ(0U, cache.Bytes());

    cache.Put("e", Tile());
    small.reset();
    EXPECT_EQ(0, LivePictures()) << "it ends with the last hold";
    const CPictureCache::CHold anew(kTileBytes);
    EXPECT_FALSE(anew.Get()->Take("e").picture);
}

}  // namespace
}  // namespace Terrascope
