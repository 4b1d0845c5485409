#pragma once

#include "datastream/i_proxy_datastream.h"
#include "support/call_log.h"
#include "support/fake_lower_buffers.h"

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

namespace GenTL::internal
{

/// State that the fakes of one lower stream share with the test, for as long as any of them lives.
///
/// Frames are delivered in the order in which the test adds them. A stop ends one wait, the one now waiting
/// or the next to come, as the lower producer's EventKill does.
class LowerStreamScript
{
public:
    LowerStreamScript() { buffers.Serve(*proxy); }

    std::shared_ptr<CallLog> calls = std::make_shared<CallLog>();
    std::shared_ptr<FakeGenTLProxy> proxy = std::make_shared<FakeGenTLProxy>();
    FakeLowerBuffers buffers;
    size_t payloadSize = 0;
    std::optional<uint64_t> droppedFrameCount;
    /// Runs in the operation of that name, before its effect. Set it before the thread starts.
    std::map<std::string, std::function<void()>> on;

    /// Adds a buffer to those that waits give.
    void Deliver(BUFFER_HANDLE handle)
    {
        Add([this, handle] { return ProxyBuffer(proxy, buffers.stream, handle); });
    }

    /// Adds a failure, which `fail` throws: the wait whose turn it is fails.
    void DeliverFailure(std::function<void()> fail)
    {
        Add(
            [fail = std::move(fail)]() -> ProxyBuffer
            {
                fail();
                throw std::logic_error("the failure did not fail");
            });
    }

    void Run(const std::string &operation)
    {
        calls->Add(operation);
        const auto action = on.find(operation);
        if (action != on.end())
        {
            action->second();
        }
    }

    void Kill()
    {
        const std::lock_guard guard(m_lock);
        ++m_kills;
        m_changed.notify_all();
    }

    ProxyBuffer Wait()
    {
        std::unique_lock guard(m_lock);
        m_changed.wait(guard, [this] { return m_kills != 0 || !m_queue.empty(); });
        if (m_kills != 0)
        {
            --m_kills;
            LowerFailure(GC_ERR_ABORT, "wait aborted");
        }
        const auto next = std::move(m_queue.front());
        m_queue.pop_front();
        guard.unlock();
        return next();
    }

private:
    void Add(std::function<ProxyBuffer()> next)
    {
        const std::lock_guard guard(m_lock);
        m_queue.push_back(std::move(next));
        m_changed.notify_all();
    }

    std::mutex m_lock;
    std::condition_variable m_changed;
    std::deque<std::function<ProxyBuffer()>> m_queue;
    int m_kills = 0;
};

class FakeProxyStream : public IProxyDataStream
{
public:
    explicit FakeProxyStream(std::shared_ptr<LowerStreamScript> script) : m_script(std::move(script)) {}
    ~FakeProxyStream() override { m_script->calls->Add("Close"); }

    void AnnounceBuffers() override { m_script->Run("AnnounceBuffers"); }
    void RevokeBuffers() override { m_script->Run("RevokeBuffers"); }
    void StartAcquisition(uint64_t numToAcquire) override
    {
        m_script->Run(fmt::format("StartAcquisition {:#x}", numToAcquire));
    }
    void StopAcquisition() override
    {
        m_script->Run("StopAcquisition");
        m_script->Kill();
    }
    ProxyBuffer WaitForBuffer(uint64_t timeoutMs) override
    {
        m_script->calls->Add(fmt::format("WaitForBuffer {}", timeoutMs));
        return m_script->Wait();
    }
    void RequeueBuffer(const ProxyBuffer &buffer) override
    {
        m_script->Run(fmt::format("RequeueBuffer {}", buffer.GetLowerHandle()));
    }
    size_t GetLowerPayloadSize() override { return m_script->payloadSize; }
    std::optional<uint64_t> GetDroppedFrameCount() override { return m_script->droppedFrameCount; }

private:
    std::shared_ptr<LowerStreamScript> m_script;
};

/// The frames of a scripted lower stream by number.
class ScriptedFrames
{
protected:
    static BUFFER_HANDLE LowerBuffer(size_t number) { return LowerHandle(0x100 + number); }

    FakeLowerBuffers::Frame &Frame(size_t number) { return script->buffers.frames.at(LowerBuffer(number)); }
    void Deliver(size_t number) { script->Deliver(LowerBuffer(number)); }
    void DeliverAll(size_t count)
    {
        for (size_t i = 0; i < count; ++i)
        {
            Deliver(i);
        }
    }

    std::shared_ptr<LowerStreamScript> script = std::make_shared<LowerStreamScript>();
};

} // namespace GenTL::internal
