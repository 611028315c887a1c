#include "terrascope/tiles/PixelStore.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "terrascope/tiles/TilePicture.h"

namespace Terrascope {
namespace {

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
