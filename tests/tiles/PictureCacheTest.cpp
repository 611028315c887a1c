#include "terrascope/tiles/PictureCache.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "terrascope/tiles/PixelStore.h"

namespace Terrascope {
namespace {

constexpr std::size_t kTileBytes = 16 * 16 * 4;

CachedTile Tile(int width = 16) {
    return {CTilePicture::Create({width, 16}), TileIndex{3, 5}};
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
    EXPECT_EQ(3, CLiveCount<CTilePicture>::Live());

    large.reset();
    EXPECT_EQ(2, CLiveCount<CTilePicture>::Live()) << "the smaller allowance holds from now on";
    EXPECT_FALSE(cache.Take("c").picture);
    EXPECT_TRUE(cache.Take("a").picture);
    cache.Put("too large", Tile(33));
    EXPECT_EQ(0U, cache.Bytes());
}

TEST(PixelStore, GivesThePixelsOfPicturesThatAreGoneToTheNextOfTheirSize) {
    const auto store = CPixelStore::Shared();
    const std::uint32_t* pixels = CTilePicture::Create(CSize(64, 64))->Row(0);
    const auto other = CTilePicture::Create(CSize(64, 32));
    EXPECT_NE(pixels, other->Row(0)) << "another size";
    const auto first = CTilePicture::Create(CSize(64, 64));
    EXPECT_EQ(pixels, first->Row(0));
    EXPECT_NE(pixels, CTilePicture::Create(CSize(64, 64))->Row(0)) << "in use";
}

TEST(PixelStore, KeepsNoMoreThanItsBound) {
    constexpr std::size_t kCount = 100000;
    constexpr std::size_t kMost = CPixelStore::kMaxBytes / (kCount * 4);
    CPixelStore store;
    std::vector<CPixelStore::Pixels> blocks(kMost + 2);
    std::generate(blocks.begin(), blocks.end(), [&] { return store.Take(kCount); });
    const std::uint32_t* last = blocks.back().get();
    for (auto& block : blocks) {
        store.Put(std::move(block), kCount);
    }
    EXPECT_EQ(kMost * kCount * 4, store.Bytes());
    EXPECT_EQ(last, store.Take(kCount).get());
    store.Put(store.Take(CPixelStore::kMaxBytes), CPixelStore::kMaxBytes);
    EXPECT_GE(CPixelStore::kMaxBytes, store.Bytes());
}

}  // namespace
}  // namespace Terrascope
