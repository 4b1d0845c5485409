#include "vision_test.h"

#include "vision/image.h"
#include "vision/region.h"

#include <gmock/gmock.h>

#include <array>
#include <memory>
#include <optional>

namespace GenTL::internal
{
namespace
{

using namespace tarn::cvl;
using tarn::common::PixelFormat;
using tarn::common::Size;
using testing::ElementsAre;

constexpr Size imageSize{4, 2};

class VisionImage : public VisionTest
{
protected:
    scripted::Image OnlyImage() const
    {
        EXPECT_EQ(vision->images.size(), 1U);
        return vision->images.begin()->second;
    }

    std::array<uint8_t, 8> memory{1, 2, 3, 4, 5, 6, 7, 8};
};

TEST_F(VisionImage, OverMemoryTellsTheLibraryWhatItIs)
{
    const Image image(PixelFormat::Mono8, imageSize, memory.data(), memory.size());
    EXPECT_THAT(vision->calls, ElementsAre("Image_CreateFromImageInfo"));
    const auto info = OnlyImage().info;
    EXPECT_EQ(info.pixelFormat, 0x01080001U);
    EXPECT_EQ(info.width, 4U);
    EXPECT_EQ(info.height, 2U);
    EXPECT_EQ(info.padding, 0U);
    EXPECT_EQ(info.size, 8U);
    EXPECT_EQ(info.data, memory.data());
    EXPECT_EQ(image.GetSize(), imageSize);
    EXPECT_EQ(image.GetData(), memory.data());
    EXPECT_EQ(image.GetPixelFormat(), PixelFormat::Mono8);
}

TEST_F(VisionImage, KnowsTheLowHalfOfItsFormat)
{
    const auto format = static_cast<PixelFormat>(0x7000000181080001);
    const Image image(format, imageSize, memory.data(), memory.size());
    EXPECT_EQ(OnlyImage().info.pixelFormat, 0x81080001U);
    EXPECT_EQ(static_cast<int64_t>(image.GetPixelFormat()), 0x81080001);
}

TEST_F(VisionImage, WithItsOwnMemoryIsZeroed)
{
    const Image image(PixelFormat::Mono16, imageSize);
    EXPECT_THAT(vision->calls, ElementsAre("Image_CreateWithZeroInit", "Image_GetInfo"));
    EXPECT_EQ(vision->zeroInitFlag, 0);
    const auto made = OnlyImage();
    EXPECT_EQ(made.info.pixelFormat, 0x01100007U);
    EXPECT_EQ(made.info.width, 4U);
    EXPECT_EQ(made.info.height, 2U);
    EXPECT_EQ(image.GetData(), made.info.data);
}

TEST_F(VisionImage, WithItsOwnMemoryIsWhatTheLibraryMadeOfIt)
{
    vision->onInfo = [&](tarn_cvl_ImageInfo &info) { info = {0x01100007, 6, 3, 0, 36, memory.data()}; };
    const Image image(PixelFormat::Mono8, imageSize);
    EXPECT_EQ(image.GetSize(), (Size{6, 3}));
    EXPECT_EQ(image.GetPixelFormat(), PixelFormat::Mono16);
    EXPECT_EQ(image.GetData(), memory.data());
}

TEST_F(VisionImage, IsDestroyedOnce)
{
    {
        Image image(PixelFormat::Mono8, imageSize);
        Image taker(std::move(image));
        Image other(PixelFormat::Mono8, imageSize);
        other = std::move(taker);
        EXPECT_EQ(vision->images.size(), 1U);
    }
    EXPECT_EQ(vision->CountOf("Image_Destroy"), 2U);
}

TEST_F(VisionImage, IsNotDestroyedWhenItWasNotMade)
{
    vision->FailNext("Image_CreateFromImageInfo", TARN_CVL_OUT_OF_RANGE);
    EXPECT_EQ(VisionFailureOf([&] { Image(PixelFormat::Mono8, imageSize, memory.data(), 1); }),
              Failing<OutOfRangeException>("vision failed", 8));
    vision->FailNext("Image_CreateWithZeroInit", TARN_CVL_NOT_SUPPORTED);
    EXPECT_EQ(VisionFailureOf([] { Image(PixelFormat::Mono8, imageSize); }),
              Failing<NotSupportedException>("vision failed", 4));
    EXPECT_EQ(vision->CountOf("Image_Destroy"), 0U);
}

TEST_F(VisionImage, IsDestroyedWhenItsInfoCannotBeRead)
{
    vision->FailNext("Image_GetInfo", TARN_CVL_INTERNAL);
    EXPECT_EQ(VisionFailureOf([] { Image(PixelFormat::Mono8, imageSize); }),
              Failing<InternalErrorException>("vision failed", 7));
    EXPECT_EQ(vision->CountOf("Image_Destroy"), 1U);
}

TEST_F(VisionImage, IgnoresThatItCannotBeDestroyed)
{
    auto image = std::make_optional<Image>(PixelFormat::Mono8, imageSize);
    auto *const handle = vision->images.begin()->first;
    vision->FailNext("Image_Destroy", TARN_CVL_INTERNAL);
    image.reset();
    EXPECT_EQ(vision->CountOf("GetLastErrorMessage_GetCount"), 0U);
    EXPECT_EQ(vision->images.erase(handle), 1U);
}

TEST_F(VisionImage, ConvertsIntoMemory)
{
    const Image image(PixelFormat::Mono8, imageSize, memory.data(), memory.size());
    std::array<uint8_t, 16> target{};
    vision->calls.clear();
    {
        const auto converted = image.ConvertTo(PixelFormat::Mono16, target.data(), target.size());
        EXPECT_THAT(vision->calls, ElementsAre("Image_CreateFromImageInfo", "Image_ConvertPixelFormat"));
        EXPECT_EQ(vision->convertedFormat, 0x01100007U);
        EXPECT_EQ(converted.GetPixelFormat(), PixelFormat::Mono16);
        EXPECT_EQ(converted.GetSize(), imageSize);
        EXPECT_EQ(converted.GetData(), target.data());
    }
    EXPECT_THAT(target, ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 0, 0, 0, 0, 0, 0, 0, 0));
}

TEST_F(VisionImage, LeavesNothingBehindAConversionThatFails)
{
    const Image image(PixelFormat::Mono8, imageSize, memory.data(), memory.size());
    std::array<uint8_t, 16> target{};
    const auto convert = [&] { image.ConvertTo(PixelFormat::Mono16, target.data(), target.size()); };
    vision->FailNext("Image_ConvertPixelFormat", TARN_CVL_NOT_SUPPORTED);
    EXPECT_EQ(VisionFailureOf(convert), Failing<NotSupportedException>("vision failed", 4));
    EXPECT_EQ(vision->images.size(), 1U);
    vision->FailNext("Image_CreateFromImageInfo", TARN_CVL_MISMATCH);
    EXPECT_EQ(VisionFailureOf(convert), Failing<MismatchException>("vision failed", 3));
    EXPECT_EQ(vision->images.size(), 1U);
}

TEST_F(VisionImage, ConvertsWithAFactor)
{
    const Image image(PixelFormat::Coord3D_C16, imageSize, memory.data(), memory.size());
    std::array<uint8_t, 8> room{};
    const Image target(PixelFormat::Coord3D_C8, imageSize, room.data(), room.size());
    image.ConvertTo(target, PixelFormat::Coord3D_C8, 0.25);
    EXPECT_EQ(vision->factor, 0.25);
    EXPECT_EQ(vision->convertedFormat, 0x010800B1U);
    EXPECT_EQ(room, memory);
    vision->FailNext("Image_ConvertPixelFormatWithFactor", TARN_CVL_MATH);
    EXPECT_EQ(VisionFailureOf([&] { image.ConvertTo(target, PixelFormat::Coord3D_C8, 0.25); }),
              Failing<MathErrorException>("vision failed", 9));
}

TEST_F(VisionImage, GetsMetadataForTheLengthOfTheCall)
{
    Image image(PixelFormat::Mono8, imageSize);
    tarn::common::Metadata metadata;
    metadata.Set("BinningVertical", uint64_t{2});
    image.SetMetadata(metadata);
    EXPECT_THAT(OnlyImage().metadata, ElementsAre(scripted::Entry{"UInt", "BinningVertical", "2"}));
    EXPECT_EQ(vision->metadata.size(), 0U);
    vision->FailNext("Image_SetMetadata", TARN_CVL_INVALID_STATE);
    EXPECT_EQ(VisionFailureOf([&] { image.SetMetadata(metadata); }),
              Failing<InvalidConfigurationException>("vision failed", 2));
    EXPECT_EQ(vision->metadata.size(), 0U);
}

TEST_F(VisionImage, GetsARegion)
{
    Image image(PixelFormat::Mono8, imageSize);
    const Region region;
    image.SetRegion(region);
    EXPECT_EQ(OnlyImage().region, vision->regions.begin()->first);
    vision->FailNext("Image_SetRegion", TARN_CVL_NOT_POSSIBLE);
    EXPECT_EQ(VisionFailureOf([&] { image.SetRegion(region); }),
              Failing<NotPossibleException>("vision failed", 5));
}

} // namespace
} // namespace GenTL::internal
