#pragma once

#include "datastream/i_frame_reader.h"

#include <cstdint>

namespace GenTL::internal
{

/// Reads those values of a frame that the processing needs, and numbers the frames itself.
///
/// Owned by the AcquisitionWorker; only the acquisition thread calls it.
class BriefFrameReader final : public IFrameReader
{
public:
    void Begin() override { m_nextFrameId = 1; }
    /// @throws GenTLException as ReadLowerFrame
    LowerFrame Read(const ProxyBuffer &buffer) override { return ReadLowerFrame(buffer, m_nextFrameId); }

private:
    uint64_t m_nextFrameId = 1;
};

} // namespace GenTL::internal
