#include "vision_module/conversions.h"

#include "vision_module/samples.h"
#include "vision_module/unpack.h"

#include <algorithm>
#include <array>
#include <span>

namespace tarn::vision
{

using enum common::PixelFormat;
using common::PixelFormat;

namespace
{

using Formats = std::span<const PixelFormat>;

constexpr std::array mono{Mono8, Mono10, Mono12, Mono16};
constexpr std::array bayerRG{BayerRG8, BayerRG10, BayerRG12};
constexpr std::array bayerGB{BayerGB8, BayerGB10, BayerGB12};
constexpr std::array bayerGR{BayerGR8, BayerGR10, BayerGR12};
constexpr std::array bayerBG{BayerBG8, BayerBG10, BayerBG12};
constexpr std::array demosaiced{Mono8, Mono10, Mono12, Mono16, RGB8, BGR8};
constexpr std::array colour8{RGB8, BGR8, RGBa8, BGRa8};
constexpr std::array deepColour{RGB10, BGR10, RGBa10, BGRa10, RGB12, BGR12, RGBa12, BGRa12};
constexpr std::array yuv{YUV420_8_YY_UV_SemiplanarQVR, YUV420_8_YY_VU_SemiplanarQVR, YUV422_8_UYVY};
constexpr std::array rgb8{RGB8};
constexpr std::array coordinate8{Coord3D_C8};
constexpr std::array coordinate16{Coord3D_C16};
constexpr std::array coordinateFloat{Coord3D_C32f};
constexpr std::array confidence8{Confidence8};
constexpr std::array confidence16{Confidence16};

struct Rule
{
    Formats from;
    Formats to;
    Conversion conversion;
};

// Each of the first formats converts to each of the second.
constexpr std::array rules{
    Rule{mono, mono, Conversion::Shift},
    Rule{bayerRG, bayerRG, Conversion::Shift},
    Rule{bayerGB, bayerGB, Conversion::Shift},
    Rule{bayerGR, bayerGR, Conversion::Shift},
    Rule{bayerBG, bayerBG, Conversion::Shift},
    Rule{bayerRG, demosaiced, Conversion::Demosaic},
    Rule{bayerGB, demosaiced, Conversion::Demosaic},
    Rule{bayerGR, demosaiced, Conversion::Demosaic},
    Rule{bayerBG, demosaiced, Conversion::Demosaic},
    Rule{colour8, colour8, Conversion::Reorder},
    Rule{deepColour, deepColour, Conversion::Reorder},
    Rule{yuv, rgb8, Conversion::Yuv},
    Rule{coordinate8, coordinate16, Conversion::Widen},
    Rule{coordinate8, coordinateFloat, Conversion::Widen},
    Rule{coordinate16, coordinateFloat, Conversion::Widen},
    Rule{confidence8, confidence16, Conversion::Widen},
};

bool Contains(Formats formats, PixelFormat format)
{
    return std::ranges::find(formats, format) != formats.end();
}

} // namespace

Conversion FindConversion(PixelFormat from, PixelFormat to)
{
    if (from == to)
    {
        return Conversion::Copy;
    }
    if (IsUnpackOffered(static_cast<uint32_t>(from), static_cast<uint32_t>(to)))
    {
        return Conversion::Unpack;
    }
    const auto *rule = std::ranges::find_if(rules, [&](const Rule &each)
                                            { return Contains(each.from, from) && Contains(each.to, to); });
    return rule == rules.end() ? Conversion::None : rule->conversion;
}

bool IsOffered(PixelFormat from, PixelFormat to)
{
    return FindConversion(from, to) != Conversion::None;
}

bool IsOfferedWithFactor(PixelFormat from, PixelFormat to)
{
    return IsOffered(from, to) && SamplesOf(to).has_value();
}

} // namespace tarn::vision
