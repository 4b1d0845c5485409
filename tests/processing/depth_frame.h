#pragma once

#include "common/pixel_format.h"
#include "processing/frame.h"

#include <cstdint>
#include <span>

namespace GenTL::internal
{

/// A frame of 4 x 2 pixels of raw depth. `pixels` may hold more than the image; they must outlive the frame.
inline InputData DepthFrame(std::span<uint16_t> pixels)
{
    InputData frame;
    frame.data = reinterpret_cast<uint8_t *>(pixels.data());
    frame.size = pixels.size_bytes();
    frame.payloadType = PAYLOAD_TYPE_IMAGE;
    frame.attributes.width = 4;
    frame.attributes.height = 2;
    frame.attributes.pixelFormat = static_cast<uint64_t>(tarn::common::PixelFormat::Coord3D_C16);
    return frame;
}

} // namespace GenTL::internal
