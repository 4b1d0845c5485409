#pragma once

#include "recording/frame_record.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace recording
{

/// The record as bytes, without its time. Lists begin with their length; all numbers are little-endian.
std::string ToBytes(const FrameRecord &record);

/// The record of such bytes, without its time.
/// @throws Error they are no record
FrameRecord FrameFromBytes(std::string_view bytes);

/// CRC-32, as zlib computes it.
uint32_t Checksum(std::span<const uint8_t> bytes);
uint32_t Checksum(std::string_view bytes);

} // namespace recording
