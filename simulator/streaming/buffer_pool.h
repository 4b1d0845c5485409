#pragma once

#include "simulator/streaming/buffer.h"

#include <list>

namespace GenTL::simulator
{

/// Counted since the last start of the stream.
struct StreamCounters
{
    uint64_t delivered = 0; ///< frames that the consumer took
    uint64_t dropped = 0;   ///< frames that found no buffer or could not be made
    uint64_t started = 0;   ///< frames that were made, delivered or not
};

/// How many buffers there are.
struct PoolSizes
{
    size_t announced;
    size_t input;  ///< waiting for a frame
    size_t output; ///< waiting for the consumer
};

/// The announced buffers of a stream, its input pool and its output queue. Owned by the stream. All calls are
/// made with the lock of the new-buffer event held.
class BufferPool
{
public:
    /// `mutex` is the lock of the new-buffer event, registered or not.
    explicit BufferPool(const Event::Mutex &mutex);

    bool HasMemory(const void *memory) const;
    void Add(const std::shared_ptr<Buffer> &buffer);
    /// @throws Error GC_ERR_INVALID_HANDLE: another thread revoked it.
    /// @throws Error GC_ERR_BUSY: the buffer is queued, being filled or in the output queue.
    void Revoke(const std::shared_ptr<Buffer> &buffer);
    /// @throws Error GC_ERR_INVALID_INDEX: fewer buffers are announced.
    void *HandleAt(uint32_t index) const;

    /// @throws Error GC_ERR_INVALID_HANDLE: another thread revoked it.
    /// @throws Error GC_ERR_RESOURCE_IN_USE: it is queued already.
    void Queue(const std::shared_ptr<Buffer> &buffer);
    /// @throws Error GC_ERR_INVALID_PARAMETER: the operation is unknown.
    void Flush(ACQ_QUEUE_TYPE operation);

    /// The first buffer of the input pool, to be filled; null when the pool is empty.
    std::shared_ptr<Buffer> TakeInput();
    /// Puts a buffer back to the front of the input pool.
    void ReturnInput(const std::shared_ptr<Buffer> &buffer);
    void ToOutput(const std::shared_ptr<Buffer> &buffer);

    /// Delivers the output queue, with what it holds already, through the event.
    void DeliverThrough(const std::shared_ptr<Event> &event);

    PoolSizes Sizes() const;
    StreamCounters &Counters() const { return *m_counters; }

private:
    void ToInput(const std::shared_ptr<Buffer> &buffer);
    void IdleToInput();
    void EmptyOutput();

    std::vector<std::shared_ptr<Buffer>> m_buffers; ///< in the order of announcement
    std::list<std::shared_ptr<Buffer>> m_input;
    std::shared_ptr<Event> m_output; ///< the output queue, whether the event is registered or not
    /// Shared with the items of the output queue, which a consumer's event may keep beyond the stream.
    const std::shared_ptr<StreamCounters> m_counters = std::make_shared<StreamCounters>();
};

} // namespace GenTL::simulator
