#include "vision_module/pixel_memory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace GenTL::internal
{
namespace
{

using tarn::vision::PixelMemory;
using tarn::vision::PixelMemoryStore;

constexpr size_t blockSize = PixelMemoryStore::smallestBlock;

class VisionPixelMemory : public testing::Test
{
protected:
    /// Returns blocks to the store; the result is their addresses.
    std::vector<uint8_t *> PassThrough(std::vector<PixelMemory> blocks)
    {
        std::vector<uint8_t *> places;
        std::ranges::transform(blocks, std::back_inserter(places), [](auto &block) { return block.get(); });
        return places;
    }

    std::vector<PixelMemory> TakeSome(size_t count, size_t size)
    {
        std::vector<PixelMemory> blocks;
        for (size_t i = 0; i < count; ++i)
        {
            blocks.push_back(store->Take(size));
        }
        return blocks;
    }

    std::shared_ptr<PixelMemoryStore> store = std::make_shared<PixelMemoryStore>();
};

TEST_F(VisionPixelMemory, IsKeptForTheNextOfItsSizeAndZeroAgain)
{
    auto first = store->Take(blockSize);
    std::fill_n(first.get(), blockSize, uint8_t{0xEE});
    const auto *const place = first.get();
    first.reset();
    // A request of another size gets other memory and leaves the kept block.
    const auto other = store->Take(blockSize + 1);
    EXPECT_NE(other.get(), place);
    const auto second = store->Take(blockSize);
    EXPECT_EQ(second.get(), place);
    EXPECT_EQ(std::count(second.get(), second.get() + blockSize, 0), std::ptrdiff_t{blockSize});
    EXPECT_NE(store->Take(blockSize).get(), place);
}

TEST_F(VisionPixelMemory, IsZeroAgainInALargeBlockOfAnySize)
{
    for (const size_t size : {size_t{8} << 20U, (size_t{8} << 20U) + 77})
    {
        auto first = store->Take(size);
        std::fill_n(first.get(), size, uint8_t{0xEE});
        first.reset();
        const auto second = store->Take(size);
        EXPECT_EQ(std::count(second.get(), second.get() + size, 0), static_cast<std::ptrdiff_t>(size));
    }
}

TEST_F(VisionPixelMemory, IsKeptForAFewBlocksTheLastOnes)
{
    const auto places = PassThrough(TakeSome(PixelMemoryStore::mostBlocks, blockSize));
    const auto again = TakeSome(PixelMemoryStore::mostBlocks, blockSize);
    std::vector<uint8_t *> placesAgain;
    std::ranges::transform(again, std::back_inserter(placesAgain), [](auto &block) { return block.get(); });
    EXPECT_TRUE(std::ranges::is_permutation(places, placesAgain));
}

TEST_F(VisionPixelMemory, OutlivesTheStoreThatItCameFrom)
{
    const auto memory = store->Take(blockSize);
    store.reset();
    memory.get()[blockSize - 1] = 1;
    EXPECT_EQ(memory.get()[0], 0);
}

} // namespace
} // namespace GenTL::internal
