#pragma once

#include "datastream/buffer.h"
#include "datastream/datastream.h"
#include "events/event_handler.h"
#include "nodemap/descriptions.h"
#include "nodemap/node_access.h"
#include "nodemap/nodemap_parser.h"
#include "support/failure.h"
#include "support/fake_library.h"
#include "support/fake_worker.h"
#include "support/handles.h"
#include "support/log_capture.h"
#include "support/typed_answer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace GenTL::internal
{

/// Calls and questions that all tests of a stream share, whatever its worker.
class StreamFixture : public testing::Test
{
protected:
    static constexpr uint64_t frames = 100;

    // The stream can revoke only buffers that are in no queue.
    void TearDown() override
    {
        if (stream)
        {
            stream->DSFlushQueue(ACQ_QUEUE_ALL_DISCARD);
        }
    }

    static void *UserPointer(size_t number) { return LowerHandle(0x5000 + number); }

    BUFFER_HANDLE Announce(size_t number = 0, size_t size = 64)
    {
        BUFFER_HANDLE handle = nullptr;
        stream->DSAllocAndAnnounceBuffer(size, UserPointer(number), &handle);
        return handle;
    }

    std::vector<BUFFER_HANDLE> AnnounceMany(size_t count, size_t size = 64)
    {
        std::vector<BUFFER_HANDLE> handles;
        for (size_t i = 0; i < count; ++i)
        {
            handles.push_back(Announce(i, size));
        }
        return handles;
    }

    std::vector<BUFFER_HANDLE> QueueMany(size_t count, size_t size = 64)
    {
        auto handles = AnnounceMany(count, size);
        for (auto *const handle : handles)
        {
            stream->QueueBuffer(handle);
        }
        return handles;
    }

    std::shared_ptr<Buffer> BufferOf(BUFFER_HANDLE handle) { return library.instances.buffers.Find(handle); }
    BufferState StateOf(BUFFER_HANDLE handle) { return BufferOf(handle)->GetState(); }

    EVENT_HANDLE RegisterEvent()
    {
        EVENT_HANDLE handle = nullptr;
        stream->RegisterEvent(EVENT_NEW_BUFFER, &handle);
        return handle;
    }

    std::shared_ptr<EventHandler> EventOf(EVENT_HANDLE handle)
    {
        return library.instances.events.Find(handle);
    }

    EVENT_NEW_BUFFER_DATA Fetch(EVENT_HANDLE handle, uint64_t timeout = 0)
    {
        EVENT_NEW_BUFFER_DATA data{};
        size_t size = sizeof data;
        EventOf(handle)->Data(&data, &size, timeout);
        return data;
    }

    AskForInfo Ask(int32_t command)
    {
        return [this, command](INFO_DATATYPE *type, void *buffer, size_t *size)
        { stream->DSGetInfo(command, type, buffer, size); };
    }

    template <typename T>
    T Info(int32_t command)
    {
        return AskFor<T>(Ask(command));
    }

    bool IsGrabbing() { return Info<bool8_t>(STREAM_INFO_IS_GRABBING) != 0; }
    uint64_t NumStarted() { return Info<uint64_t>(STREAM_INFO_NUM_STARTED); }
    uint64_t NumLost() { return Info<uint64_t>(STREAM_INFO_NUM_UNDERRUN); }
    uint64_t NumDelivered() { return Info<uint64_t>(STREAM_INFO_NUM_DELIVERED); }
    size_t NumQueued() { return Info<size_t>(STREAM_INFO_NUM_QUEUED); }
    size_t NumAwaiting() { return Info<size_t>(STREAM_INFO_NUM_AWAIT_DELIVERY); }

    /// Reads a feature of the stream's own node map through its port.
    uint64_t Feature(const std::string &name)
    {
        return nodemap::ReadUnsigned(*stream->GetNodeMap(), description.FindNode(name));
    }

    FakeLibrary library;
    const nodemap::NodeMapParser description{nodemap::DataStreamDescription()};
    std::unique_ptr<Datastream> stream;
};

/// A stream with a fake worker, which the test drives.
class DatastreamFixture : public StreamFixture
{
protected:
    DatastreamFixture() { MakeStream(); }

    void MakeStream(std::optional<uint64_t> droppedFrameCount = std::nullopt)
    {
        auto fake = std::make_unique<FakeWorker>(calls);
        worker = fake.get();
        worker->droppedFrameCount = droppedFrameCount;
        stream = std::make_unique<Datastream>(library, std::move(fake), LowerHandle(0x77));
    }

    void Start(uint64_t numToAcquire = frames)
    {
        stream->DSStartAcquisition(ACQ_START_FLAGS_DEFAULT, numToAcquire);
    }

    /// Passes one frame through the stream as the worker does. Null without a free buffer.
    BUFFER_HANDLE PassFrame()
    {
        const auto buffer = worker->source();
        if (buffer)
        {
            buffer->SetResult(true, 8, true);
            worker->sink(buffer);
        }
        return buffer.get();
    }

    std::shared_ptr<CallLog> calls = std::make_shared<CallLog>();
    FakeWorker *worker = nullptr;
};

} // namespace GenTL::internal
