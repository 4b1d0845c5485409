#include "processing/frame_copy.h"

#include <gtest/gtest.h>

#include <numeric>
#include <vector>

namespace GenTL::internal
{
namespace
{

/// Copies `size` bytes to `offset` bytes past an aligned address, and checks them and the bytes around them.
void CheckCopy(size_t size, size_t offset)
{
    std::vector<uint8_t> source(size + 3);
    std::iota(source.begin(), source.end(), uint8_t{1});
    std::vector<uint8_t> target(size + offset + 64, 0xEE);
    CopyFrame(target.data() + offset, source.data() + 3, size);
    for (size_t i = 0; i < target.size(); ++i)
    {
        const bool isInside = i >= offset && i < offset + size;
        ASSERT_EQ(target[i], isInside ? source[i - offset + 3] : 0xEE) << i << " of " << size;
    }
}

TEST(CopyFrame, CopiesEveryByteAndNoOther)
{
    for (const size_t size : {size_t{0}, size_t{1}, size_t{63}, size_t{1000}, (size_t{1} << 20U) + 1})
    {
        CheckCopy(size, 1);
    }
}

TEST(CopyFrame, NeedsNoMemoryForAFrameWithoutBytes)
{
    CopyFrame(nullptr, nullptr, 0);
}

} // namespace
} // namespace GenTL::internal
