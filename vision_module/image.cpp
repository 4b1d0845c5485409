#include "vision_module/image.h"

#include "common/format_table.h"
#include "vision_module/error.h"

#include <array>
#include <cstdio>
#include <functional>

namespace tarn::vision
{

namespace
{

/// Describes an image, as in "Mono8 of 640 x 480 pixels".
std::string Description(PixelFormat format, uint32_t width, uint32_t height)
{
    return NameOf(format) + " of " + std::to_string(width) + " x " + std::to_string(height) + " pixels";
}

} // namespace

std::string NameOf(PixelFormat format)
{
    return std::string(common::wideFormats.Find(format)->name);
}

PixelFormat FormatOf(uint32_t code)
{
    const auto format = static_cast<PixelFormat>(code);
    const auto *info = common::wideFormats.Find(format);
    if (info == nullptr || info->bits == 0)
    {
        std::array<char, 11> hexadecimal{};
        std::snprintf(hexadecimal.data(), hexadecimal.size(), "0x%08X", code);
        throw Failure(TARN_CVL_NOT_SUPPORTED, std::string("The pixel format ") + hexadecimal.data() +
                                                  " is unknown, expected a published code or the maker's");
    }
    return format;
}

uint64_t PixelBytes(PixelFormat format, uint32_t width, uint32_t height)
{
    constexpr uint64_t largestPixel = 96;
    if (uint64_t{width} * height > UINT64_MAX / largestPixel - 1)
    {
        throw Failure(TARN_CVL_OUT_OF_RANGE,
                      Description(format, width, height) + " take more bytes than any memory has");
    }
    return common::GetSizeInBytes(*common::wideFormats.Find(format), {width, height});
}

std::shared_ptr<Image> MakeImage(const tarn_cvl_ImageInfo &info)
{
    const auto format = FormatOf(info.pixelFormat);
    if (info.padding != 0)
    {
        throw Failure(TARN_CVL_NOT_SUPPORTED,
                      "The padding is " + std::to_string(info.padding) + " bytes, expected 0");
    }
    const auto bytes = PixelBytes(format, info.width, info.height);
    if (info.size < bytes)
    {
        throw Failure(TARN_CVL_OUT_OF_RANGE, "The memory has " + std::to_string(info.size) +
                                                 " bytes, expected at least " + std::to_string(bytes) +
                                                 " for " + Description(format, info.width, info.height));
    }
    if (bytes > 0)
    {
        RequirePointer(info.data, "the pixel memory");
    }
    auto image = std::make_shared<Image>();
    image->format = format;
    image->width = info.width;
    image->height = info.height;
    image->size = info.size;
    image->data = static_cast<uint8_t *>(info.data);
    return image;
}

std::shared_ptr<Image> MakeZeroedImage(uint32_t pixelFormat, tarn_cvl_Size size)
{
    const auto format = FormatOf(pixelFormat);
    const auto bytes = PixelBytes(format, size.width, size.height);
    if (bytes > maximumOwnSize)
    {
        throw Failure(TARN_CVL_OUT_OF_RANGE, Description(format, size.width, size.height) + " take " +
                                                 std::to_string(bytes) + " bytes, expected at most " +
                                                 std::to_string(maximumOwnSize));
    }
    auto image = std::make_shared<Image>();
    image->format = format;
    image->width = size.width;
    image->height = size.height;
    image->size = bytes;
    if (bytes > 0)
    {
        image->memory = PixelMemoryStore::Instance()->Take(bytes);
    }
    image->data = image->memory.get();
    return image;
}

bool ShareMemory(const Image &one, const Image &other)
{
    const std::less_equal<> isUpTo;
    const auto *oneEnd = one.data + PixelBytes(one.format, one.width, one.height);
    const auto *otherEnd = other.data + PixelBytes(other.format, other.width, other.height);
    return !isUpTo(oneEnd, other.data) && !isUpTo(otherEnd, one.data);
}

tarn_cvl_ImageInfo InfoOf(const Image &image)
{
    return {static_cast<uint32_t>(image.format), image.width, image.height, 0, image.size, image.data};
}

} // namespace tarn::vision
