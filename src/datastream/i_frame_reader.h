#pragma once

#include "datastream/lower_frame.h"

namespace GenTL::internal
{

class ProxyBuffer;

/// Asks the lower producer about filled buffers, for one stream.
///
/// Owned by the AcquisitionWorker; only the acquisition thread calls it.
class IFrameReader
{
public:
    IFrameReader() = default;
    IFrameReader(const IFrameReader &) = delete;
    IFrameReader &operator=(const IFrameReader &) = delete;
    virtual ~IFrameReader() = default;

    /// An acquisition begins: its frames are numbered from 1.
    virtual void Begin() = 0;
    virtual LowerFrame Read(const ProxyBuffer &buffer) = 0;
};

} // namespace GenTL::internal
