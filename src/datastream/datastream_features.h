#pragma once

#include "nodemap/register_definition.h"

#include <cstdint>
#include <span>

namespace GenTL::internal
{

/// Registers of a Data Stream module's node map. The context of their callbacks is the Datastream.
std::span<const nodemap::RegisterDefinition> DatastreamFeatures();

namespace datastream_registers
{

inline constexpr uint64_t streamId = 0x0;
inline constexpr uint64_t streamDroppedFrameCountImplemented = 0x68;

} // namespace datastream_registers

} // namespace GenTL::internal
