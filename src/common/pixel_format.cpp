#include "common/pixel_format.h"

#include "common/exceptions.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace tarn::common
{

namespace
{

struct Entry
{
    PixelFormat format;
    std::string_view name;
    uint32_t bits;
    uint32_t maximum;
    bool isPacked;
    PixelFormat unpacked;
};

constexpr auto table = []
{
    std::array entries{
#define PIXEL_FORMAT(name, code, bits, maximum, packed, unpacked)                                            \
    Entry{PixelFormat::name, #name, bits, maximum, packed, PixelFormat::unpacked},
#include "common/pixel_formats.inc"
#undef PIXEL_FORMAT
    };
    std::ranges::sort(entries, {}, &Entry::format);
    return entries;
}();
static_assert(table.size() == 123);
static_assert(std::ranges::adjacent_find(table, {}, &Entry::format) == table.end(), "a code stands twice");

const Entry &Find(PixelFormat format)
{
    const auto *entry = std::ranges::lower_bound(table, format, {}, &Entry::format);
    if (entry == table.end() || entry->format != format)
    {
        throw InvalidParameterException("The given pixel format with the integer value of " +
                                        std::to_string(static_cast<int64_t>(format)) + " is unknown!");
    }
    return *entry;
}

} // namespace

uint64_t GetSizeInBytes(PixelFormat format, Size size)
{
    return (uint64_t{size.width} * size.height * Find(format).bits + 7) >> 3;
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
