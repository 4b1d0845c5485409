#pragma once

#include "utils/mutex.h"

#include <gentl/gentl.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <vector>

namespace GenTL::internal
{

class Buffer;
class ILibrary;
enum class BufferState : int32_t;

/// The handle of a buffer; null after the buffer has left the Buffer registry.
BUFFER_HANDLE HandleOf(ILibrary &library, const Buffer &buffer);

/// Hands a buffer back to the consumer: moves it to Announced. False for a buffer that was revoked.
bool GiveBack(ILibrary &library, BUFFER_HANDLE handle);

/// The consumer buffers of one stream in the order of announcement, which is the order in which the free ones
/// are filled. Adds them to the Buffer registry and removes them from it.
///
/// Any thread may call anything. Lock order: the list, the event, a registry.
class AnnouncedBuffers
{
public:
    using Buffers = std::vector<std::shared_ptr<Buffer>>;

    explicit AnnouncedBuffers(ILibrary &library) : m_library(library) {}

    /// @throws GenTLException "Buffer is already in use!" for consumer memory that starts where another
    /// buffer's does
    BUFFER_HANDLE Add(const std::shared_ptr<Buffer> &buffer);
    /// @param minimum the list keeps at least this number of buffers, 0 = no minimum
    /// @throws GenTLException GC_ERR_INVALID_HANDLE; GC_ERR_BUSY for a buffer that is queued;
    /// GC_ERR_INVALID_BUFFER when only the minimum is left
    std::shared_ptr<Buffer> Remove(BUFFER_HANDLE handle, size_t minimum);
    /// @throws GenTLException GC_ERR_INVALID_INDEX
    BUFFER_HANDLE HandleAt(uint32_t index);
    /// The first buffer in Input, now in Filling; null when there is none.
    std::shared_ptr<Buffer> TakeFree();
    /// Hands out the list with the lock held, so the visitor must not call this object.
    void Visit(const std::function<void(const Buffers &)> &visitor);
    Buffers Copy() QVR_EXCLUDES(m_mutex);
    /// Counts on a copy, without the lock.
    size_t CountIn(std::initializer_list<BufferState> states);
    /// Takes no lock.
    size_t Size() const { return m_numAnnounced; }

private:
    ILibrary &m_library;
    utils::Mutex m_mutex;
    Buffers m_buffers QVR_GUARDED_BY(m_mutex);
    std::atomic<size_t> m_numAnnounced = 0; ///< length of m_buffers, for reading without the lock
};

/// Calls action(Buffer &) for each buffer in a state.
void ForEachIn(BufferState state, const AnnouncedBuffers::Buffers &buffers,
               const std::function<void(Buffer &)> &action);
void MoveBuffers(const AnnouncedBuffers::Buffers &buffers, BufferState from, BufferState to);

} // namespace GenTL::internal
