#include "processing/frame_copy.h"

#include <gtest/gtest.h>

#include <numeric>
#include <vector>

namespace GenTL::internal
{
namespace
{

/// Copies `size` bytes to `offset` bytes behind an aligned place, and checks them and what is around them.
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

TEST(CopyFrame, CopiesEveryByteAndNoOtherAtAnyAlignment)
{
    constexpr size_t large = (size_t{1} << 20U) + 1;
    for (size_t offset = 0; offset < 70; offset += 3)
    {
        CheckCopy(large + offset, offset);
    }
    for (const size_t size : {size_t{0}, size_t{1}, size_t{63}, size_t{1000}, large - 1, large, large + 62})
    {
        CheckCopy(size, 1);
    }
}

} // namespace
} // namespace GenTL::internal
