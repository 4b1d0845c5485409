#pragma once

#include "processing/frame.h"

#include <cstdint>
#include <string>

namespace GenTL::internal
{

class ProxyBuffer;

/// A filled lower buffer as its producer describes it.
struct LowerFrame
{
    InputData input;
    bool isIncomplete = false;
    std::string failure{}; ///< why the frame cannot be processed; empty when it can
};

/// Asks the lower producer about a buffer. A query for geometry, format, source id, the chunk flag or the
/// chunk layout may fail: its value is then unset, 0 or false. All other queries must succeed.
/// @param nextFrameId in: this frame's number; out: the next one. Incremented as soon as the payload type was
/// read, even if a later query throws.
/// @throws GenTLException the failure of the lower producer
LowerFrame ReadLowerFrame(const ProxyBuffer &buffer, uint64_t &nextFrameId);

} // namespace GenTL::internal
