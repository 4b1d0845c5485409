#include "simulator/pixels/pixel_format.h"

#include "simulator/pixels/packing.h"

#include <fmt/format.h>

#include <algorithm>
#include <stdexcept>
#include <string>

namespace GenTL::simulator
{

namespace
{

using Colours = std::array<Colour, 4>;
using Exposures = std::array<double, 4>;

constexpr auto red = Colour::Red;
constexpr auto green = Colour::Green;
constexpr auto blue = Colour::Blue;

constexpr Colours grey = {Colour::Grey, Colour::Grey, Colour::Grey, Colour::Grey};
constexpr Colours redFirst = {red, green, blue};
constexpr Colours blueFirst = {blue, green, red};
constexpr Colours mosaicRG = {red, green, green, blue};
constexpr Colours mosaicGR = {green, red, blue, green};
constexpr Colours mosaicGB = {green, blue, red, green};
constexpr Colours mosaicBG = {blue, green, green, red};

constexpr Exposures fullTime = {1.0, 1.0, 1.0, 1.0};
constexpr Exposures lines = {1.0, 1.0, 0.5, 0.5};     // A, B
constexpr Exposures blocks = {1.0, 0.5, 0.25, 0.125}; // A, B, C, D

// The four mosaics of a kind of format.
#define MOSAICS(rest, rg, gr, gb, bg, sampleBits, pixelBits, pack, exposures)                                \
    {"BayerRG" rest, rg, sampleBits, pixelBits, 1, pack, mosaicRG, exposures},                               \
        {"BayerGR" rest, gr, sampleBits, pixelBits, 1, pack, mosaicGR, exposures},                           \
        {"BayerGB" rest, gb, sampleBits, pixelBits, 1, pack, mosaicGB, exposures},                           \
    {                                                                                                        \
        "BayerBG" rest, bg, sampleBits, pixelBits, 1, pack, mosaicBG, exposures                              \
    }

// clang-format off
constexpr PixelFormat formats[] = {
    {"Mono8", 0x01080001, 8, 8, 1, Pack8, grey, fullTime},
    {"Mono10", 0x01100003, 10, 16, 1, Pack16, grey, fullTime},
    {"Mono12", 0x01100005, 12, 16, 1, Pack16, grey, fullTime},
    {"Mono10p", 0x010A0046, 10, 10, 1, PackBits<10>, grey, fullTime},
    {"Mono12p", 0x010C0047, 12, 12, 1, PackBits<12>, grey, fullTime},
    {"Mono10Packed", 0x010C0004, 10, 12, 1, PackTriplets<10>, grey, fullTime},
    {"Mono12Packed", 0x010C0006, 12, 12, 1, PackTriplets<12>, grey, fullTime},
    {"Mono10g40QVR", 0x4000000F, 10, 10, 1, PackGroups40, grey, fullTime},
    {"Mono12g24QVR", 0x4000001F, 12, 12, 1, PackGroups24, grey, fullTime},
    MOSAICS("8", 0x01080009, 0x01080008, 0x0108000A, 0x0108000B, 8, 8, Pack8, fullTime),
    MOSAICS("10", 0x0110000D, 0x0110000C, 0x0110000E, 0x0110000F, 10, 16, Pack16, fullTime),
    MOSAICS("12", 0x01100011, 0x01100010, 0x01100012, 0x01100013, 12, 16, Pack16, fullTime),
    MOSAICS("10p", 0x010A0058, 0x010A0056, 0x010A0054, 0x010A0052, 10, 10, PackBits<10>, fullTime),
    MOSAICS("12p", 0x010C0059, 0x010C0057, 0x010C0055, 0x010C0053, 12, 12, PackBits<12>, fullTime),
    MOSAICS("10Packed", 0x010C0027, 0x010C0026, 0x010C0028, 0x010C0029, 10, 12, PackTriplets<10>, fullTime),
    MOSAICS("12Packed", 0x010C002B, 0x010C002A, 0x010C002C, 0x010C002D, 12, 12, PackTriplets<12>, fullTime),
    MOSAICS("10g40QVR", 0x40000001, 0x40000003, 0x40000002, 0x40000004, 10, 10, PackGroups40, fullTime),
    MOSAICS("12g24QVR", 0x40000011, 0x40000013, 0x40000012, 0x40000014, 12, 12, PackGroups24, fullTime),
    {"RGB8", 0x02180014, 8, 24, 3, Pack8, redFirst, fullTime},
    {"RGB10p32", 0x0220001D, 10, 32, 3, PackWords, redFirst, fullTime},
    {"BGR10p32", 0x0220001E, 10, 32, 3, PackWords, blueFirst, fullTime},
    {"Mono8_I_A_B", 0x92080001, 8, 8, 1, Pack8, grey, lines},
    {"Mono10p_I_A_B", 0x920A0046, 10, 10, 1, PackBits<10>, grey, lines},
    {"Mono12p_I_A_B", 0x920C0047, 12, 12, 1, PackBits<12>, grey, lines},
    {"Mono10g40QVR_I_A_B", 0x9200000F, 10, 10, 1, PackGroups40, grey, lines},
    {"Mono12g24QVR_I_A_B", 0x9200001F, 12, 12, 1, PackGroups24, grey, lines},
    {"Mono8_I_AB_CD", 0xB2080001, 8, 8, 1, Pack8, grey, blocks},
    {"Mono10p_I_AB_CD", 0xB20A0046, 10, 10, 1, PackBits<10>, grey, blocks},
    {"Mono12p_I_AB_CD", 0xB20C0047, 12, 12, 1, PackBits<12>, grey, blocks},
    {"Mono10g40QVR_I_AB_CD", 0xB200000F, 10, 10, 1, PackGroups40, grey, blocks},
    {"Mono12g24QVR_I_AB_CD", 0xB200001F, 12, 12, 1, PackGroups24, grey, blocks},
    MOSAICS("8_I_A_B", 0x92080009, 0x92080008, 0x9208000A, 0x9208000B, 8, 8, Pack8, lines),
    MOSAICS("10p_I_A_B", 0x920A0058, 0x920A0056, 0x920A0054, 0x920A0052, 10, 10, PackBits<10>, lines),
    MOSAICS("12p_I_A_B", 0x920C0059, 0x920C0057, 0x920C0055, 0x920C0053, 12, 12, PackBits<12>, lines),
    MOSAICS("10g40QVR_I_A_B", 0x92000001, 0x92000003, 0x92000002, 0x92000004, 10, 10, PackGroups40, lines),
    {"Coord3D_C8", 0x010800B1, 8, 8, 1, Pack8, grey, fullTime},
    {"Coord3D_C16", 0x011000B8, 16, 16, 1, Pack16, grey, fullTime},
    {"Confidence8", 0x010800C6, 8, 8, 1, Pack8, grey, fullTime},
    MOSAICS("12g24QVR_I_A_B", 0x92000011, 0x92000013, 0x92000012, 0x92000014, 12, 12, PackGroups24, lines),
};
// clang-format on

#undef MOSAICS

template <typename Matches>
const PixelFormat &Find(Matches matches, const std::string &wanted)
{
    const auto *const found = std::ranges::find_if(formats, matches);
    if (found == std::end(formats))
    {
        throw std::logic_error("No pixel format " + wanted);
    }
    return *found;
}

} // namespace

const PixelFormat &FindPixelFormat(int64_t code)
{
    return Find([code](const PixelFormat &format) { return format.code == code; }, fmt::to_string(code));
}

const PixelFormat &FindPixelFormat(std::string_view name)
{
    return Find([name](const PixelFormat &format) { return format.name == name; }, std::string(name));
}

const PixelFormat &WithMosaic(const PixelFormat &format, std::string_view mosaic)
{
    std::string name = format.name;
    return FindPixelFormat(name.replace(name.find(format.Mosaic(), 5), 2, mosaic));
}

} // namespace GenTL::simulator
