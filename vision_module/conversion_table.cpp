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

What `tarn_cvl_Image_ConvertPixelFormat` offers. Every format converts to itself as well: the bytes are
copied. `tarn_cvl_Image_ConvertPixelFormatWithFactor` offers the same, except to packed formats and YUV.
This file is printed by the program `conversion_table` from the table in `vision_module/conversions.cpp`.

- unpacked: each sample in bytes of its own, the sub-images of an interleaved format as samples of one pixel.
- shifted: samples move to the other depth by a shift, so that 4095 of 12 bits is 255 of 8 and 65520 of 16.
- demosaiced: bilinear interpolation at the depth of the source, then a shift. At least 3 x 3 pixels.
- reordered: the order of the colours, with transparency dropped, or added as opaque; shifted between depths.
- YUV: ITU-R BT.601 with luminance from 16 to 235. The width is even, that of the planar formats and their
  height, too.
- widened: the same values in larger samples.

| From | To | How |
|---|---|---|
)";

/// As in "Mono10, Mono12"; empty when there is none.
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
    return 0;
}
