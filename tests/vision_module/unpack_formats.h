#pragma once

#include "common/pixel_format.h"
#include "vision_module/unpack.h"

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace tarn::vision
{

using common::PixelFormat;

inline uint32_t Code(PixelFormat format)
{
    return static_cast<uint32_t>(format);
}

inline const std::vector<PixelFormat> &AllFormats()
{
    static const std::vector formats{
#define PIXEL_FORMAT(name, code, bits, maximum, packed, unpacked) PixelFormat::name,
#include "common/pixel_formats.inc"
#undef PIXEL_FORMAT
    };
    return formats;
}

/// The formats that Unpack converts to their unpacked form.
inline std::vector<PixelFormat> OfferedFormats()
{
    std::vector<PixelFormat> offered;
    for (const auto format : AllFormats())
    {
        if (IsUnpackOffered(Code(format), Code(UnpackedFormat(format))))
        {
            offered.push_back(format);
        }
    }
    return offered;
}

inline std::vector<uint8_t> RandomBytes(size_t size)
{
    std::minstd_rand random(static_cast<uint32_t>(size) + 1);
    std::vector<uint8_t> bytes(size);
    for (auto &byte : bytes)
    {
        byte = static_cast<uint8_t>(random() >> 8);
    }
    return bytes;
}

} // namespace tarn::vision
