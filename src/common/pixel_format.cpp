#include "common/pixel_format.h"

#include "common/exceptions.h"
#include "common/format_table.h"

namespace tarn::common
{

namespace
{

const FormatInfo &Find(PixelFormat format)
{
    const auto *entry = familyFormats.Find(format);
    if (entry == nullptr)
    {
        throw InvalidParameterException("The given pixel format with the integer value of " +
                                        std::to_string(static_cast<int64_t>(format)) + " is unknown!");
    }
    return *entry;
}

} // namespace

uint64_t GetSizeInBytes(PixelFormat format, Size size)
{
    return GetSizeInBytes(Find(format), size);
}

std::string PixelFormatName(PixelFormat format)
{
    return std::string(Find(format).name);
}

uint64_t MaximumPixelValue(PixelFormat format)
{
    const auto &entry = Find(format);
    if (entry.maximum == 0)
    {
        throw InvalidParameterException("The template does not match the data type of pixel format " +
                                        std::string(entry.name) + "! Use float as template argument.");
    }
    return entry.maximum;
}

bool IsPackedFormat(PixelFormat format)
{
    return Find(format).isPacked;
}

PixelFormat UnpackedFormat(PixelFormat format)
{
    return Find(format).unpacked;
}

} // namespace tarn::common
