#include "pixel_format.h"

#include "packing.h"

#include <algorithm>
#include <stdexcept>
#include <string>

namespace GenTL::simulator
{

namespace
{

constexpr PixelFormat formats[] = {
    {"Mono8", 0x01080001, 8, 8, Pack8},
    {"Mono10", 0x01100003, 10, 16, Pack16},
    {"Mono12", 0x01100005, 12, 16, Pack16},
    {"Mono10p", 0x010A0046, 10, 10, PackBits<10>},
    {"Mono12p", 0x010C0047, 12, 12, PackBits<12>},
    {"Mono10g40QVR", 0x4000000F, 10, 10, PackGroups40},
    {"Mono12g24QVR", 0x4000001F, 12, 12, PackGroups24},
};

} // namespace

std::span<const PixelFormat> PixelFormats()
{
    return formats;
}

const PixelFormat &FindPixelFormat(int64_t code)
{
    const auto *found = std::find_if(std::begin(formats), std::end(formats),
                                     [code](const PixelFormat &format) { return format.code == code; });
    if (found == std::end(formats))
    {
        throw std::logic_error("No pixel format " + std::to_string(code));
    }
    return *found;
}

} // namespace GenTL::simulator
