#pragma once

#include "datastream/acquisition_worker.h"
#include "datastream/buffer.h"
#include "support/failure.h"
#include "support/fake_library.h"
#include "support/fake_processor.h"
#include "support/fake_proxy_stream.h"
#include "support/log_capture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

namespace GenTL::internal
{

/// A worker between a scripted lower stream and a pool of consumer buffers.
///
/// One log holds all calls: of the lower stream, of the processor, and "Pop", "Push" and "Finished" for the
/// callbacks.
class WorkerFixture : public testing::Test, protected ScriptedFrames
{
protected:
    static constexpr size_t frameSize = 64;
    static constexpr auto startCall = "StartAcquisition 0xffffffffffffffff";
    static constexpr auto waitCall = "WaitForBuffer 10000";

    WorkerFixture()
    {
        GTEST_FLAG_SET(death_test_style, "threadsafe");
        for (size_t i = 0; i < 8; ++i)
        {
            AddFrame(i);
        }
        SetCallbacks();
    }

    // Ends the thread before the objects of the test and its fixture, which it may still use.
    void TearDown() override { worker.reset(); }

    static std::string RequeueCall(size_t number)
    {
        return fmt::format("RequeueBuffer {}", LowerBuffer(number));
    }

    FakeLowerBuffers::Frame &AddFrame(size_t number)
    {
        return script->buffers.AddImage(LowerBuffer(number), lowerMemory.data(), frameSize);
    }
    /// Lets the lower stream fail to stop, although the wait ends.
    void FailLowerStop()
    {
        script->on["StopAcquisition"] = [this]
        {
            script->Kill();
            throw std::runtime_error("cable");
        };
    }

    void SetCallbacks()
    {
        worker->SetBufferCallbacks([this] { return Pop(); },
                                   [this](const std::shared_ptr<Buffer> &buffer) { Push(buffer); });
        worker->SetFinishedCallback([this] { calls->Add("Finished"); });
    }

    /// Makes and queues consumer buffers.
    std::vector<std::shared_ptr<Buffer>> Queue(size_t count, size_t size = frameSize)
    {
        std::vector<std::shared_ptr<Buffer>> made;
        const std::lock_guard guard(lock);
        for (size_t i = 0; i < count; ++i)
        {
            made.push_back(std::make_shared<Buffer>(library, size, nullptr));
            made.back()->SetState(BufferState::Input);
            pool.push_back(made.back());
        }
        return made;
    }

    virtual std::shared_ptr<Buffer> Pop()
    {
        calls->Add("Pop");
        const std::lock_guard guard(lock);
        if (pool.empty())
        {
            return nullptr;
        }
        auto buffer = pool.front();
        pool.pop_front();
        buffer->SetState(BufferState::Filling);
        return buffer;
    }

    virtual void Push(const std::shared_ptr<Buffer> &buffer)
    {
        buffer->SetState(BufferState::Output);
        calls->Add("Push");
    }

    /// Runs a limited acquisition until it has ended by itself.
    void RunToTheEnd(uint64_t numToAcquire)
    {
        const auto before = calls->CountOf("Finished");
        worker->StartAcquisition(numToAcquire);
        ASSERT_TRUE(calls->WaitFor("Finished", before + 1));
        EXPECT_FALSE(worker->IsRunning());
    }

    static bool HasNewData(const Buffer &buffer) { return Info<bool8_t>(buffer, BUFFER_INFO_NEW_DATA) != 0; }

    template <typename T>
    static T Info(const Buffer &buffer, int32_t command)
    {
        return AskFor<T>([&](INFO_DATATYPE *type, void *value, size_t *size)
                         { buffer.DSGetBufferInfo(command, type, value, size); });
    }

    static std::vector<uint64_t> FrameIds(const std::vector<std::shared_ptr<Buffer>> &buffers)
    {
        std::vector<uint64_t> ids;
        for (const auto &buffer : buffers)
        {
            ids.push_back(buffer->GetMetadata().frameId);
        }
        return ids;
    }

    FakeLibrary library;
    std::array<uint8_t, frameSize> lowerMemory{};
    std::shared_ptr<CallLog> calls = script->calls;
    std::shared_ptr<FakeProcessor> processor = std::make_shared<FakeProcessor>(calls);
    std::mutex lock;
    std::deque<std::shared_ptr<Buffer>> pool;
    std::unique_ptr<AcquisitionWorker> worker =
        std::make_unique<AcquisitionWorker>(std::make_unique<FakeProxyStream>(script), processor);
};

} // namespace GenTL::internal
