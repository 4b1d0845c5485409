#pragma once

#include "vision_module/samples.h"

#include <algorithm>

namespace tarn::vision
{

/// Converts a sample to another depth. A value beyond its own depth counts as the largest one.
inline uint16_t ShiftSample(uint32_t sample, uint32_t fromDepth, uint32_t toDepth)
{
    const uint32_t kept = std::min(sample, (uint32_t{1} << fromDepth) - 1);
    return static_cast<uint16_t>(toDepth >= fromDepth ? kept << (toDepth - fromDepth)
                                                      : kept >> (fromDepth - toDepth));
}

/// Converts `count` samples from the depth of one format to the depth of another.
void ShiftSamples(common::PixelFormat from, const uint8_t *source, common::PixelFormat to, uint8_t *target,
                  uint64_t count);

} // namespace tarn::vision
