#pragma once

#include "datastream/i_acquisition_worker.h"
#include "support/call_log.h"

#include <fmt/format.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

namespace GenTL::internal
{

/// A worker without a thread. A test calls the callbacks in place of the thread.
class FakeWorker : public IAcquisitionWorker
{
public:
    explicit FakeWorker(std::shared_ptr<CallLog> log) : calls(std::move(log)) {}
    ~FakeWorker() override { calls->Add("Close"); }

    std::shared_ptr<CallLog> calls;
    BufferSource source;
    BufferSink sink;
    std::function<void()> finished;
    std::function<void()> onStart;
    std::function<void()> onStop;
    std::function<void()> onKill;
    uint64_t payloadSize = 4711;
    std::optional<uint64_t> droppedFrameCount;

    void StartAcquisition(uint64_t iNumToAcquire) override
    {
        Run(fmt::format("Start {}", iNumToAcquire), onStart);
    }
    void StopAcquisition() override { Run("Stop", onStop); }
    void KillAcquisition() override { Run("Kill", onKill); }
    bool IsRunning() const override { return false; }
    void SetBufferCallbacks(BufferSource bufferSource, BufferSink bufferSink) override
    {
        calls->Add("SetBufferCallbacks");
        source = std::move(bufferSource);
        sink = std::move(bufferSink);
    }
    void SetFinishedCallback(std::function<void()> finishedCallback) override
    {
        calls->Add("SetFinishedCallback");
        finished = std::move(finishedCallback);
    }
    uint64_t GetPayloadSize() override { return payloadSize; }
    std::optional<uint64_t> GetDroppedFrameCount() override
    {
        calls->Add("GetDroppedFrameCount");
        return droppedFrameCount;
    }

private:
    void Run(std::string call, const std::function<void()> &action)
    {
        calls->Add(std::move(call));
        if (action)
        {
            action();
        }
    }
};

} // namespace GenTL::internal
