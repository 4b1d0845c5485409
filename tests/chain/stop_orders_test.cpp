// Consumers stop a stream in different orders of calls; each order must work with producer and simulator.

#include "consumer.h"
#include "support/failure.h"

#include <gtest/gtest.h>

#include <thread>

namespace chain
{
namespace
{

using GenTL::internal::Failure;
using GenTL::internal::FailureOf;

class StopOrder : public testing::Test
{
protected:
    StopOrder() : m_camera(m_producer, "OVRA-M1")
    {
        m_camera.UseSmallImages();
        m_camera.AnnounceAndQueue(4);
        m_camera.RegisterEvent();
        m_camera.Start();
        m_camera.Pass(20);
    }

    gentlctl::Producer m_producer{proxyProducer};
    Camera m_camera;
};

TEST_F(StopOrder, KillDiscardFlushEventRevokeEach)
{
    auto &calls = m_camera.Calls();
    m_camera.Stop(ACQ_STOP_FLAGS_KILL);
    calls.DSFlushQueue(m_camera.Stream(), ACQ_QUEUE_ALL_DISCARD);
    calls.EventFlush(m_camera.Event());
    for (auto *buffer : m_camera.Buffers())
    {
        calls.DSRevokeBuffer(m_camera.Stream(), buffer, nullptr, nullptr);
    }
    EXPECT_EQ(FailureOf(
                  [&]
                  {
                      BUFFER_HANDLE buffer = nullptr;
                      calls.DSGetBufferID(m_camera.Stream(), 0, &buffer);
                  })
                  .code,
              GC_ERR_INVALID_INDEX);
}

TEST_F(StopOrder, DefaultUnregisterDiscardRevokeTheFirst)
{
    auto &calls = m_camera.Calls();
    m_camera.Stop(ACQ_STOP_FLAGS_DEFAULT);
    m_camera.UnregisterEvent();
    calls.DSFlushQueue(m_camera.Stream(), ACQ_QUEUE_ALL_DISCARD);
    size_t revoked = 0;
    for (BUFFER_HANDLE buffer = nullptr;
         FailureOf([&] { calls.DSGetBufferID(m_camera.Stream(), 0, &buffer); }) == Failure{}; ++revoked)
    {
        calls.DSRevokeBuffer(m_camera.Stream(), buffer, nullptr, nullptr);
    }
    EXPECT_EQ(revoked, m_camera.Buffers().size());
}

TEST_F(StopOrder, EventKillThenRestartWithTheSameHandles)
{
    auto &calls = m_camera.Calls();
    GC_ERROR end = GC_ERR_SUCCESS;
    std::thread consumer(
        [&]
        {
            while (end == GC_ERR_SUCCESS)
            {
                end = FailureOf([&] { m_camera.Give(m_camera.Take(GENTL_INFINITE)); }).code;
            }
        });
    calls.EventKill(m_camera.Event());
    consumer.join();
    EXPECT_EQ(end, GC_ERR_ABORT);
    m_camera.Stop(ACQ_STOP_FLAGS_KILL);
    m_camera.UnregisterEvent();
    calls.DSFlushQueue(m_camera.Stream(), ACQ_QUEUE_ALL_DISCARD);

    for (auto *buffer : m_camera.Buffers())
    {
        calls.DSQueueBuffer(m_camera.Stream(), buffer);
    }
    m_camera.RegisterEvent();
    m_camera.Start();
    m_camera.Pass(20);
    m_camera.Stop(ACQ_STOP_FLAGS_KILL);
}

TEST_F(StopOrder, FlushToOutputDiscardAndCloseWithoutRevoke)
{
    auto &calls = m_camera.Calls();
    m_camera.Stop(ACQ_STOP_FLAGS_DEFAULT);
    calls.DSFlushQueue(m_camera.Stream(), ACQ_QUEUE_INPUT_TO_OUTPUT);
    calls.DSFlushQueue(m_camera.Stream(), ACQ_QUEUE_OUTPUT_DISCARD);
    calls.DSClose(m_camera.Stream());
    EXPECT_EQ(FailureOf([&] { calls.DSClose(m_camera.Stream()); }).code, GC_ERR_INVALID_HANDLE);
}

} // namespace
} // namespace chain
