#include "pixels.h"

#include <numeric>

namespace GenTL::internal
{

class VisionImage : public VisionTest
{
protected:
    /// Destroys an image that a call made, unless the call failed and made none.
    Answered Destroyed(const Answered &answered, void *const &image)
    {
        EXPECT_EQ(image != nullptr, answered.status == TARN_CVL_SUCCESS);
        if (image != nullptr)
        {
            vision.Image_Destroy(image);
        }
        return answered;
    }

    Answered Create(const tarn_cvl_ImageInfo &info)
    {
        void *image = nullptr;
        return Destroyed(AnswerOf(vision.Image_CreateFromImageInfo(&image, &info, sizeof info)), image);
    }

    Answered CreateZeroed(uint32_t format, tarn_cvl_Size size, uint8_t flag = 0)
    {
        void *image = nullptr;
        return Destroyed(AnswerOf(vision.Image_CreateWithZeroInit(&image, format, size, flag)), image);
    }

    tarn_cvl_ImageInfo InfoOf(void *image)
    {
        tarn_cvl_ImageInfo info{};
        EXPECT_EQ(vision.Image_GetInfo(image, &info, sizeof info), TARN_CVL_SUCCESS);
        return info;
    }

    std::array<uint8_t, 16> memory{};
};

TEST_F(VisionImage, LiesOverTheGivenMemory)
{
    const ImageHandle image(vision,
                            tarn_cvl_ImageInfo{Code(PixelFormat::Mono12), 4, 2, 0, 16, memory.data()});
    const auto info = InfoOf(image);
    EXPECT_EQ(info.pixelFormat, 0x01100005U);
    EXPECT_EQ(info.width, 4U);
    EXPECT_EQ(info.height, 2U);
    EXPECT_EQ(info.padding, 0U);
    EXPECT_EQ(info.size, 16U);
    EXPECT_EQ(info.data, memory.data());
}

TEST_F(VisionImage, MayHaveMoreMemoryThanPixels)
{
    const ImageHandle image(vision,
                            tarn_cvl_ImageInfo{Code(PixelFormat::Mono10p), 3, 1, 0, 16, memory.data()});
    EXPECT_EQ(InfoOf(image).size, 16U);
}

TEST_F(VisionImage, HasZeroedMemoryOfItsOwnInEachFormat)
{
    for (const auto format : allFormats)
    {
        void *image = nullptr;
        ASSERT_EQ(AnswerOf(vision.Image_CreateWithZeroInit(&image, Code(format), {5, 3}, 0)), Answered{});
        const auto info = InfoOf(image);
        EXPECT_EQ(info.pixelFormat, Code(format));
        EXPECT_EQ(info.width, 5U);
        EXPECT_EQ(info.height, 3U);
        EXPECT_EQ(info.size, tarn::common::GetSizeInBytes(format, {5, 3}));
        const auto *bytes = static_cast<const uint8_t *>(info.data);
        EXPECT_EQ(std::accumulate(bytes, bytes + info.size, 0), 0);
        std::memset(info.data, 1, info.size);
        EXPECT_EQ(vision.Image_Destroy(image), TARN_CVL_SUCCESS);
    }
}

TEST_F(VisionImage, MayBeWithoutPixels)
{
    EXPECT_EQ(Create({Code(PixelFormat::Mono8), 0, 7, 0, 0, nullptr}), Answered{});
    EXPECT_EQ(CreateZeroed(Code(PixelFormat::Mono8), {7, 0}), Answered{});
}

TEST_F(VisionImage, NeedsMemoryForItsPixels)
{
    EXPECT_EQ(
        Create({Code(PixelFormat::Mono12), 4, 2, 0, 15, memory.data()}),
        (Answered{TARN_CVL_OUT_OF_RANGE, "The memory has 15 bytes, expected at least 16 for Mono12 of 4 "
                                         "x 2 pixels"}));
    EXPECT_EQ(
        Create({Code(PixelFormat::Mono12p), 3, 1, 0, 4, memory.data()}),
        (Answered{TARN_CVL_OUT_OF_RANGE, "The memory has 4 bytes, expected at least 5 for Mono12p of 3 x "
                                         "1 pixels"}));
    EXPECT_EQ(Create({Code(PixelFormat::Mono12), 4, 2, 0, 16, nullptr}),
              (Answered{TARN_CVL_NULL_POINTER, "The pointer to the pixel memory is null"}));
}

TEST_F(VisionImage, NeedsAKnownFormat)
{
    const Answered unknown{TARN_CVL_NOT_SUPPORTED,
                           "The pixel format 0x0108ABCD is unknown, expected a published "
                           "code or the maker's"};
    EXPECT_EQ(Create({0x0108ABCD, 1, 1, 0, 16, memory.data()}), unknown);
    EXPECT_EQ(CreateZeroed(0x0108ABCD, {1, 1}), unknown);
    const ImageHandle image(vision, tarn_cvl_ImageInfo{Code(PixelFormat::Mono8), 1, 1, 0, 1, memory.data()});
    EXPECT_EQ(AnswerOf(vision.Image_ConvertPixelFormat(image, 0x0108ABCD, image)), unknown);
    EXPECT_EQ(AnswerOf(vision.Image_ConvertPixelFormatWithFactor(image, 0x0108ABCD, image, 1)), unknown);
}

TEST_F(VisionImage, HasNoPadding)
{
    EXPECT_EQ(Create({Code(PixelFormat::Mono8), 4, 2, 4, 16, memory.data()}),
              (Answered{TARN_CVL_NOT_SUPPORTED, "The padding is 4 bytes, expected 0"}));
}

TEST_F(VisionImage, OfMorePixelsThanMemoryIsRefused)
{
    EXPECT_EQ(
        Create({Code(PixelFormat::RGB32f), UINT32_MAX, UINT32_MAX, 0, UINT64_MAX, memory.data()}),
        (Answered{TARN_CVL_OUT_OF_RANGE, "RGB32f of 4294967295 x 4294967295 pixels take more bytes than "
                                         "any memory has"}));
    EXPECT_EQ(CreateZeroed(Code(PixelFormat::Mono8), {UINT32_MAX, UINT32_MAX}),
              (Answered{TARN_CVL_OUT_OF_RANGE, "Mono8 of 4294967295 x 4294967295 pixels take more bytes than "
                                               "any memory has"}));
    EXPECT_EQ(CreateZeroed(Code(PixelFormat::Mono8), {262144, 262145}),
              (Answered{TARN_CVL_OUT_OF_RANGE, "Mono8 of 262144 x 262145 pixels take 68719738880 bytes, "
                                               "expected at most 68719476736"}));
}

TEST_F(VisionImage, TakesNoFlag)
{
    EXPECT_EQ(CreateZeroed(Code(PixelFormat::Mono8), {1, 1}, 1),
              (Answered{TARN_CVL_NOT_SUPPORTED, "The flag is 1, expected 0"}));
}

TEST_F(VisionImage, TakesAndGivesARecordOfJustOneSize)
{
    tarn_cvl_ImageInfo info{Code(PixelFormat::Mono8), 1, 1, 0, 1, memory.data()};
    const ImageHandle image(vision, info);
    const Answered nullInfo{TARN_CVL_NULL_POINTER, "The pointer to the image information is null"};
    void *other = nullptr;
    EXPECT_EQ(AnswerOf(vision.Image_CreateFromImageInfo(&other, nullptr, sizeof info)), nullInfo);
    EXPECT_EQ(AnswerOf(vision.Image_GetInfo(image, nullptr, sizeof info)), nullInfo);
    for (size_t size : {size_t{0}, size_t{31}, size_t{33}})
    {
        const Answered wrongSize{TARN_CVL_MISMATCH, "The size of the image information is given as " +
                                                        std::to_string(size) + " bytes, expected 32"};
        EXPECT_EQ(AnswerOf(vision.Image_CreateFromImageInfo(&other, &info, size)), wrongSize);
        EXPECT_EQ(AnswerOf(vision.Image_GetInfo(image, &info, size)), wrongSize);
    }
    EXPECT_EQ(other, nullptr);
}

TEST_F(VisionImage, LivesUntilItsLastOwnerEnds)
{
    void *image = nullptr;
    ASSERT_EQ(vision.Image_CreateWithZeroInit(&image, Code(PixelFormat::Mono8), {1, 1}, 0), TARN_CVL_SUCCESS);
    EXPECT_EQ(vision.Image_IncreaseUseCount(image), TARN_CVL_SUCCESS);
    EXPECT_EQ(vision.Image_IncreaseUseCount(image), TARN_CVL_SUCCESS);
    EXPECT_EQ(vision.Image_Destroy(image), TARN_CVL_SUCCESS);
    EXPECT_EQ(vision.Image_Destroy(image), TARN_CVL_SUCCESS);
    EXPECT_EQ(InfoOf(image).size, 1U);
    EXPECT_EQ(vision.Image_Destroy(image), TARN_CVL_SUCCESS);
    EXPECT_EQ(vision.Image_Destroy(image), TARN_CVL_MISMATCH);
}

TEST_F(VisionImage, KeepsCopiesOfMetadataAndRegion)
{
    const ImageHandle image(vision,
                            tarn_cvl_ImageInfo{Code(PixelFormat::Mono8), 16, 1, 0, 16, memory.data()});
    for (int i = 0; i < 2; ++i)
    {
        void *metadata = nullptr;
        void *region = nullptr;
        const tarn_cvl_Range range{0, 0};
        EXPECT_EQ(vision.Metadata_Create(&metadata), TARN_CVL_SUCCESS);
        EXPECT_EQ(vision.Metadata_SetString(metadata, "key", "a text too long for a short string"),
                  TARN_CVL_SUCCESS);
        EXPECT_EQ(vision.Region_Create(&region), TARN_CVL_SUCCESS);
        EXPECT_EQ(vision.Threshold_Process(image, &range, sizeof range, &region), TARN_CVL_SUCCESS);
        EXPECT_EQ(AnswerOf(vision.Image_SetMetadata(image, metadata)), Answered{});
        EXPECT_EQ(AnswerOf(vision.Image_SetRegion(image, region)), Answered{});
        EXPECT_EQ(vision.Metadata_Destroy(metadata), TARN_CVL_SUCCESS);
        EXPECT_EQ(vision.Region_Destroy(region), TARN_CVL_SUCCESS);
    }
}

} // namespace GenTL::internal
