#pragma once

#include "datastream/announced_buffers.h"
#include "datastream/buffer.h"
#include "events/event_handler.h"
#include "support/failure.h"
#include "support/fake_library.h"
#include "support/typed_answer.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>

namespace GenTL::internal
{

/// Gives buffers of a registry back, as the stream does.
inline EventHandler::ReleaseBuffer ReleaseTo(FakeLibrary &library)
{
    return [&library](BUFFER_HANDLE handle) { return GiveBack(library, handle); };
}

/// A new-buffer event and buffers to push into it.
class EventFixture : public testing::Test
{
protected:
    static void *UserPointer(uintptr_t number) { return reinterpret_cast<void *>(0x1000 + number); }

    /// A registered buffer in Output, as the stream pushes it.
    std::shared_ptr<Buffer> MakeBuffer(uintptr_t number = 0)
    {
        auto buffer = std::make_shared<Buffer>(library, 8, UserPointer(number));
        library.instances.buffers.Add(buffer);
        buffer->SetState(BufferState::Output);
        return buffer;
    }

    std::shared_ptr<Buffer> PushBuffer(uintptr_t number = 0)
    {
        auto buffer = MakeBuffer(number);
        Push(*buffer);
        return buffer;
    }

    void Push(Buffer &buffer) { event.Push({.id = &buffer, .value = buffer.GetUserPointer()}); }

    EVENT_NEW_BUFFER_DATA Fetch(uint64_t timeout = 0) { return FetchFrom(event, timeout); }

    static EVENT_NEW_BUFFER_DATA FetchFrom(EventHandler &handler, uint64_t timeout)
    {
        EVENT_NEW_BUFFER_DATA data{};
        size_t size = sizeof data;
        handler.Data(&data, &size, timeout);
        return data;
    }

    AskForInfo Info(int32_t command)
    {
        return [this, command](INFO_DATATYPE *type, void *buffer, size_t *size)
        { event.Info(command, type, buffer, size); };
    }

    size_t NumInQueue() { return AskFor<size_t>(Info(EVENT_NUM_IN_QUEUE)); }
    uint64_t NumFired() { return AskFor<uint64_t>(Info(EVENT_NUM_FIRED)); }

    FakeLibrary library;
    std::shared_ptr<EventQueue> queue = std::make_shared<EventQueue>();
    EventHandler event{ReleaseTo(library), EVENT_NEW_BUFFER, queue};
};

inline const Failure aborted{"Wait aborted via kill.", GC_ERR_ABORT};

inline Failure TimedOut(uint64_t timeout)
{
    return {fmt::format("Time {}us exceeded", timeout), GC_ERR_TIMEOUT};
}

} // namespace GenTL::internal
