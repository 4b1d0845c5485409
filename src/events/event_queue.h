#pragma once

#include "utils/mutex.h"

#include <gentl/gentl.h>

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <limits>
#include <variant>

namespace GenTL::internal
{

/// One entry of an event's queue. Only the first alternative of each variant is in use; the second is for
/// event types that carry a number.
struct NewBufferEvent
{
    std::variant<BUFFER_HANDLE, uint64_t> id;
    std::variant<void *, uint64_t> value;
    uint64_t numericId = std::numeric_limits<uint64_t>::max(); ///< all bits set: none
};

/// Filled buffers on their way to the consumer, the oldest first. An event hands them out.
///
/// Shared by its event and whoever else changes it. Any thread may use it.
struct EventQueue
{
    utils::Mutex mutex;
    std::condition_variable changed; ///< signalled for each entry and each kill
    std::deque<NewBufferEvent> entries QVR_GUARDED_BY(mutex);
    std::atomic<size_t> numQueued = 0; ///< length of entries, for reading without the mutex
    std::atomic<uint64_t> numFired = 0;
    std::atomic<uint64_t> numDelivered = 0; ///< handed out with data

    /// Adds an entry and counts it; signals nothing.
    void Append(const NewBufferEvent &entry) QVR_REQUIRES(mutex)
    {
        entries.push_back(entry);
        ++numQueued;
        ++numFired;
    }
    void DropFirst() QVR_REQUIRES(mutex)
    {
        entries.pop_front();
        --numQueued;
    }
    void DropAll() QVR_REQUIRES(mutex)
    {
        entries.clear();
        numQueued = 0;
    }
};

} // namespace GenTL::internal
