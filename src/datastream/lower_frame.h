#pragma once

#include "processing/frame.h"

#include <cstdint>

namespace GenTL::internal
{

class ProxyBuffer;

/// The description of a filled lower buffer, as its producer gives it.
struct LowerFrame
{
    InputData input;
    bool isIncomplete = false;
};

/// Asks the lower producer about a buffer. Geometry, format and chunks may be unknown there; what makes up
/// the frame may not.
/// @param nextFrameId number for this frame; one higher afterwards, once the payload type is known, whatever
/// becomes of the frame
/// @throws GenTLException of the lower producer
LowerFrame ReadLowerFrame(const ProxyBuffer &buffer, uint64_t &nextFrameId);

} // namespace GenTL::internal
