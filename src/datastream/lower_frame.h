#pragma once

#include "processing/frame.h"

#include <cstdint>

namespace GenTL::internal
{

class ProxyBuffer;

/// A filled lower buffer as its producer describes it.
struct LowerFrame
{
    InputData input;
    bool isIncomplete = false;
};

/// Asks the lower producer about a buffer. Queries for geometry, format and chunk flags may fail and are then
/// left unset; payload type, completeness, part addresses and announced chunks must succeed.
/// @param nextFrameId in: this frame's number; out: the next one. Incremented as soon as the payload type was
/// read, even if a later query throws.
/// @throws GenTLException the failure of the lower producer
LowerFrame ReadLowerFrame(const ProxyBuffer &buffer, uint64_t &nextFrameId);

} // namespace GenTL::internal
