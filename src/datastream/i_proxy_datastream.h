#pragma once

#include "datastream/proxy_buffer.h"

#include <cstdint>
#include <optional>

namespace GenTL::internal
{

/// The lower stream as the acquisition worker uses it. All operations throw the lower producer's failures.
class IProxyDataStream
{
public:
    IProxyDataStream() = default;
    IProxyDataStream(const IProxyDataStream &) = delete;
    IProxyDataStream &operator=(const IProxyDataStream &) = delete;
    virtual ~IProxyDataStream() = default;

    /// Allocates and queues the lower buffers, in the minimum number that the lower stream asks for.
    virtual void AnnounceBuffers() = 0;
    /// Discards the lower queues and revokes all lower buffers.
    virtual void RevokeBuffers() = 0;
    virtual void StartAcquisition(uint64_t numToAcquire) = 0;
    /// Stops the lower stream and wakes a thread in WaitForBuffer.
    virtual void StopAcquisition() = 0;
    /// Blocks for the next filled lower buffer, at most `timeoutMs` milliseconds.
    virtual ProxyBuffer WaitForBuffer(uint64_t timeoutMs) = 0;
    /// Gives a lower buffer back to the lower input queue.
    virtual void RequeueBuffer(const ProxyBuffer &buffer) = 0;
    /// Bytes of one lower buffer.
    virtual size_t GetLowerPayloadSize() = 0;
    /// The lower stream's dropped frame counter, if it has one.
    virtual std::optional<uint64_t> GetDroppedFrameCount() = 0;
};

} // namespace GenTL::internal
