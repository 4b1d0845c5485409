#include "vision_module.h"

#include <string>
#include <vector>

namespace GenTL::internal
{

namespace
{

constexpr uint32_t mono12Packed = 0x010C0006;
constexpr uint32_t mono14p = 0x010E0104;
constexpr uint32_t mono14 = 0x01100025;
constexpr uint32_t mono12 = 0x01100005;
constexpr uint32_t rgb10p = 0x021E005C;
constexpr uint32_t rgb10 = 0x02300018;
constexpr uint32_t custom = 0x80000000;

} // namespace

/// Images of published formats outside of the family, over the module's C functions.
class VisionPublishedFormats : public VisionTest
{
protected:
    /// An image of one line over this memory, destroyed with the test.
    void *ImageOf(uint32_t format, uint32_t width, void *pixels, size_t size)
    {
        const tarn_cvl_ImageInfo info{format, width, 1, 0, size, pixels};
        void *image = nullptr;
        EXPECT_EQ(AnswerOf(vision.Image_CreateFromImageInfo(&image, &info, sizeof info)), Answered{});
        images.push_back(image);
        return image;
    }

    Answered Create(uint32_t format, uint32_t width, void *pixels, size_t size)
    {
        const tarn_cvl_ImageInfo info{format, width, 1, 0, size, pixels};
        void *image = nullptr;
        return AnswerOf(vision.Image_CreateFromImageInfo(&image, &info, sizeof info));
    }

    Answered Convert(void *from, uint32_t format, void *to)
    {
        return AnswerOf(vision.Image_ConvertPixelFormat(from, format, to));
    }

    void TearDown() override
    {
        for (auto *const image : images)
        {
            EXPECT_EQ(vision.Image_Destroy(image), TARN_CVL_SUCCESS);
        }
    }

    std::vector<void *> images;
    std::vector<uint8_t> memory = std::vector<uint8_t>(64, 0xA5);
};

TEST_F(VisionPublishedFormats, AreUnpacked)
{
    std::vector<uint8_t> source{0x12, 0xC3, 0xAB, 0x45, 0x06};
    auto *const from = ImageOf(mono12Packed, 3, source.data(), source.size());
    EXPECT_EQ(Convert(from, mono12, ImageOf(mono12, 3, memory.data(), 6)), Answered{});
    EXPECT_EQ((std::vector<uint8_t>(memory.begin(), memory.begin() + 7)),
              (std::vector<uint8_t>{0x23, 0x01, 0xBC, 0x0A, 0x56, 0x04, 0xA5}));
}

TEST_F(VisionPublishedFormats, AreCopiedToThemselves)
{
    std::vector<uint8_t> source{1, 2, 3, 4};
    auto *const from = ImageOf(mono14, 2, source.data(), source.size());
    EXPECT_EQ(Convert(from, mono14, ImageOf(mono14, 2, memory.data(), 4)), Answered{});
    EXPECT_EQ((std::vector<uint8_t>(memory.begin(), memory.begin() + 4)), source);
}

TEST_F(VisionPublishedFormats, NeedMemoryForTheirLastBits)
{
    EXPECT_EQ(Create(mono14p, 3, memory.data(), 5),
              (Answered{TARN_CVL_OUT_OF_RANGE,
                        "The memory has 5 bytes, expected at least 6 for Mono14p of 3 x 1 pixels"}));
    EXPECT_EQ(Create(mono12Packed, 3, memory.data(), 4),
              (Answered{TARN_CVL_OUT_OF_RANGE,
                        "The memory has 4 bytes, expected at least 5 for Mono12Packed of 3 x 1 pixels"}));
    EXPECT_EQ(Create(rgb10p, 1, memory.data(), 3),
              (Answered{TARN_CVL_OUT_OF_RANGE,
                        "The memory has 3 bytes, expected at least 4 for RGB10p of 1 x 1 pixels"}));
}

TEST_F(VisionPublishedFormats, AreNotUnpackedInPlace)
{
    auto *const from = ImageOf(rgb10p, 2, memory.data(), 8);
    auto *const to = ImageOf(rgb10, 2, memory.data() + 7, 12);
    EXPECT_EQ(Convert(from, rgb10, to),
              (Answered{TARN_CVL_NOT_POSSIBLE,
                        "The target shares memory with the image; expected memory of its own "
                        "for RGB10p to RGB10"}));
    EXPECT_EQ(memory, std::vector<uint8_t>(64, 0xA5));
}

TEST_F(VisionPublishedFormats, AreConvertedToNoOtherForm)
{
    auto *const from = ImageOf(mono14p, 2, memory.data(), 4);
    EXPECT_EQ(Convert(from, mono12, ImageOf(mono12, 2, memory.data() + 8, 4)),
              (Answered{TARN_CVL_NOT_SUPPORTED, "The conversion from Mono14p to Mono12 is not offered"}));
    auto *const plain = ImageOf(mono14, 2, memory.data() + 16, 4);
    EXPECT_EQ(AnswerOf(vision.Image_ConvertPixelFormatWithFactor(plain, mono14, plain, 2.0)),
              (Answered{TARN_CVL_NOT_SUPPORTED,
                        "The conversion from Mono14 to Mono14 with a factor is not offered"}));
}

TEST_F(VisionPublishedFormats, NeedAFixedStorage)
{
    EXPECT_EQ(Create(custom, 1, memory.data(), memory.size()),
              (Answered{TARN_CVL_NOT_SUPPORTED,
                        "The pixel format 0x80000000 is unknown, expected a published code or the maker's"}));
}

} // namespace GenTL::internal
