#pragma once

#include "processing/frame.h"
#include "processing/frame_tail.h"
#include "processing/image_conversions.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace GenTL::internal
{

/// A part of a frame: what becomes of it, and its place in the output.
struct PartPlan
{
    const BufferPartInfo *part = nullptr;
    std::span<uint8_t> delivered{};              ///< its bytes that have arrived
    std::optional<ImageConversion> conversion{}; ///< none: copied
    uint64_t begin = 0;                          ///< in the output

    uint64_t Bytes() const { return conversion ? conversion->OutputBytes() : part->size; }
    /// The part as it lies in the output.
    BufferPartInfo Description(std::span<uint8_t> output) const;
};

/// In the output, each part begins at a multiple of this.
inline constexpr uint64_t partAlignment = 8;

/// Places the parts one behind the other. Empty when none of them is converted.
/// @throws GenTLException for a part outside of the buffer, and for an image that needs more bytes than its
/// part of a complete frame has
std::vector<PartPlan> PlanParts(const InputData &input, const ImageConversions &conversions);

/// The chunks of a complete frame with parts: the bytes behind the last part. For the chunks, all parts
/// together are the image.
/// @throws as FindTail
std::optional<FrameTail> TailBehindParts(const InputData &input);

/// Width and height of an image; none when one is unknown or too large for a number of pixels.
/// @param deliveredHeight lines that were sent, if they may be fewer; 0 counts as unknown
std::optional<tarn::common::Size> ImageSizeOf(std::optional<size_t> width, std::optional<size_t> height,
                                              std::optional<size_t> deliveredHeight);

/// @throws GenTLException when a complete image needs more than these bytes
void CheckHasArrived(const ImageConversion &image, uint64_t bytes, bool isIncomplete);

} // namespace GenTL::internal
