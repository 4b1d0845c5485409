// Prints docs/vision-conversions.md.

#include "vision_module/conversions.h"

#include <array>
#include <cstdio>
#include <string>
#include <utility>

namespace
{

using tarn::common::PixelFormat;
using tarn::vision::Conversion;

struct Row
{
    PixelFormat format;
    const char *name;
};

constexpr std::array formats{
#define PIXEL_FORMAT(name, code, bits, maximum, packed, unpacked) Row{PixelFormat::name, #name},
#include "common/pixel_formats.inc"
#undef PIXEL_FORMAT
};

constexpr std::array ways{
    std::pair{Conversion::Unpack, "unpacked"},
    std::pair{Conversion::Shift, "shifted"},
    std::pair{Conversion::Demosaic, "demosaiced"},
    std::pair{Conversion::Reorder, "reordered"},
    std::pair{Conversion::Yuv, "YUV"},
    std::pair{Conversion::Widen, "widened"},
};

constexpr const char *introduction = R"(# Conversions of the vision module

`tarn_cvl_Image_ConvertPixelFormat` offers these conversions, and from each format to itself, which copies the
bytes. `tarn_cvl_Image_ConvertPixelFormatWithFactor` offers the same, except to packed formats and YUV.
The program `conversion_table` prints this file from the table in `vision_module/conversions.cpp`.

- unpacked: each sample gets bytes of its own; the sub-images of an interleaved format become samples of a pixel.
- shifted: a shift moves samples to the other depth: 4095 of 12 bits becomes 255 of 8 and 65520 of 16.
- demosaiced: bilinear interpolation at the depth of the source, then a shift. Needs at least 3 x 3 pixels.
- reordered: colours change their order; transparency is dropped, or added as opaque; depths are shifted.
- YUV: ITU-R BT.601 with luminance from 16 to 235. The width must be even; so must the height of planar formats.
- widened: the same values in larger samples.

| From | To | How |
|---|---|---|
)";

constexpr const char *published = R"(
## Other published formats

These unpack in the same way. All other formats of the published list are only copied.

)";

struct Unpacked
{
    const char *from;
    const char *to;
    PixelFormat fromFormat;
    PixelFormat toFormat;
};

constexpr std::array publishedFormats{
#define PIXEL_FORMAT(name, code, bits, maximum, packed, unpacked)                                            \
    Unpacked{#name, #unpacked, PixelFormat::name, PixelFormat::unpacked},
#include "common/published_formats.inc"
};

/// Names joined as in "Mono10, Mono12".
std::string Targets(PixelFormat from, Conversion way)
{
    std::string targets;
    for (const auto &to : formats)
    {
        if (tarn::vision::FindConversion(from, to.format) == way)
        {
            targets += (targets.empty() ? "" : ", ") + std::string(to.name);
        }
    }
    return targets;
}

} // namespace

int main()
{
    std::fputs(introduction, stdout);
    for (const auto &from : formats)
    {
        for (const auto &[way, name] : ways)
        {
            const auto targets = Targets(from.format, way);
            if (!targets.empty())
            {
                std::printf("| %s | %s | %s |\n", from.name, targets.c_str(), name);
            }
        }
    }
    std::fputs(published, stdout);
    for (const auto &row : publishedFormats)
    {
        if (tarn::vision::FindConversion(row.fromFormat, row.toFormat) == Conversion::Unpack)
        {
            std::printf("- %s: %s\n", row.from, row.to);
        }
    }
    return 0;
}
