#include "guarded_memory.h"
#include "support/sanitizer.h"
#include "unpack_formats.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>

namespace tarn::vision
{

namespace
{

/// Unpacks with a guard directly before both images, then with one directly behind both. An access outside
/// the images ends the process, as does one that writes to the source.
void UnpackBetweenGuards(PixelFormat from, common::Size size, GuardedMemory &source, GuardedMemory &target)
{
    const auto to = UnpackedFormat(from);
    const auto sourceSize = GetSizeInBytes(from, size);
    const auto targetSize = GetSizeInBytes(to, size);
    Unpack(Code(from), source.Front(), Code(to), target.Front(), size.width, size.height);
    Unpack(Code(from), source.Back(sourceSize), Code(to), target.Back(targetSize), size.width, size.height);
}

void FillWith(GuardedMemory &memory, size_t capacity)
{
    memory.AllowWriting();
    std::ranges::copy(RandomBytes(capacity), memory.Back(capacity));
    memory.ForbidWriting();
}

std::string NameOf(const testing::TestParamInfo<PixelFormat> &info)
{
    return PixelFormatName(info.param);
}

} // namespace

class UnpackAccessOf : public testing::TestWithParam<PixelFormat>
{
};

TEST_P(UnpackAccessOf, StaysWithinTheImagesAtEverySize)
{
    constexpr common::Size largest{300, 3};
    const auto capacity = GetSizeInBytes(GetParam(), largest);
    GuardedMemory source(capacity);
    GuardedMemory target(GetSizeInBytes(UnpackedFormat(GetParam()), largest));
    FillWith(source, capacity);
    for (uint32_t width = 1; width <= largest.width; ++width)
    {
        for (uint32_t height = 1; height <= largest.height; ++height)
        {
            SCOPED_TRACE(testing::Message() << width << " x " << height);
            UnpackBetweenGuards(GetParam(), {width, height}, source, target);
        }
    }
}

TEST_P(UnpackAccessOf, StaysWithinLargeImages)
{
    constexpr common::Size largest{1540, 1409};
    const auto capacity = GetSizeInBytes(GetParam(), largest);
    GuardedMemory source(capacity);
    GuardedMemory target(GetSizeInBytes(UnpackedFormat(GetParam()), largest));
    FillWith(source, capacity);
    // The guards work without a sanitizer, too.
    for (auto width = largest.width - 9; width <= largest.width; width += hasSanitizer ? 3 : 1)
    {
        UnpackBetweenGuards(GetParam(), {width, largest.height}, source, target);
    }
}

TEST_P(UnpackAccessOf, NeedsNoMemoryForAnImageWithoutPixels)
{
    Unpack(Code(GetParam()), nullptr, Code(UnpackedFormat(GetParam())), nullptr, 0, 3);
    Unpack(Code(GetParam()), nullptr, Code(UnpackedFormat(GetParam())), nullptr, 3, 0);
}

INSTANTIATE_TEST_SUITE_P(Formats, UnpackAccessOf, testing::ValuesIn(OfferedFormats()), NameOf);

TEST(GuardedMemory, EndsTheProcessOnAccessOutsideIt)
{
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    GuardedMemory memory(10);
    const auto touch = [](const volatile uint8_t *byte) { return *byte; };
    touch(memory.Front());
    touch(memory.Back(1));
    EXPECT_DEATH(touch(memory.Front() - 1), "");
    EXPECT_DEATH(touch(memory.Back(0)), "");
    memory.ForbidWriting();
    EXPECT_DEATH(*memory.Front() = 1, "");
}

} // namespace tarn::vision
