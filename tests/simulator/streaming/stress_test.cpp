// Many threads use the same handles at once while a sanitizer watches. The tests do not check their results.

#include "support/simulator/simulator.h"

#include <atomic>
#include <functional>
#include <thread>

namespace simulator_test
{
namespace
{

class SimulatorThreads : public CameraTest
{
protected:
    void SetUp() override
    {
        CameraTest::SetUp();
        SetRegion(64, 48);
    }

    /// Runs each of `others` again and again, on a thread of its own, until `main` is done.
    void RunBeside(const std::vector<std::function<void()>> &others, const std::function<void()> &main)
    {
        std::atomic<bool> done = false;
        std::vector<std::thread> threads;
        for (const auto &other : others)
        {
            threads.emplace_back(
                [&]
                {
                    while (!done)
                    {
                        other();
                    }
                });
        }
        main();
        done = true;
        for (std::thread &thread : threads)
        {
            thread.join();
        }
    }

    void TakeAndQueue()
    {
        EVENT_NEW_BUFFER_DATA data{};
        size_t size = sizeof data;
        if (Tl().EventGetData(m_event, &data, &size, 1) == GC_ERR_SUCCESS)
        {
            INFO_DATATYPE type = 0;
            uint64_t number = 0;
            size = sizeof number;
            Tl().DSGetBufferInfo(m_stream, data.BufferHandle, BUFFER_INFO_FRAMEID, &type, &number, &size);
            Tl().DSQueueBuffer(m_stream, data.BufferHandle);
        }
    }

    void ReadStreamFeatures()
    {
        uint8_t bytes[64];
        size_t size = sizeof bytes;
        Tl().GCReadPort(m_stream, m_streamCounters, bytes, &size);
    }

    uint64_t m_streamCounters = 0;
};

TEST_F(SimulatorThreads, ControlTheStreamWhileOthersTakeFrames)
{
    AnnounceBuffers(6);
    m_streamCounters = Nodes(m_stream).Address("StreamAnnouncedBufferCount");
    RunBeside({[&] { TakeAndQueue(); }, [&] { TakeAndQueue(); }, [&] { ReadStreamFeatures(); },
               [&] { m_camera->SetFloat("ExposureTime", 5000.0F); }},
              [&]
              {
                  for (int i = 0; i < 60; ++i)
                  {
                      EXPECT_OK(Tl().DSStartAcquisition(m_stream, 0, i % 3 == 0 ? 5 : GENTL_INFINITE));
                      EXPECT_OK(m_camera->Set("AcquisitionStart", 1));
                      Tl().EventKill(m_event);
                      Tl().DSFlushQueue(m_stream, i % 5);
                      Tl().DSFlushQueue(m_stream, ACQ_QUEUE_ALL_TO_INPUT);
                      EXPECT_OK(Tl().DSStopAcquisition(m_stream, i % 2));
                      EXPECT_OK(m_camera->Set("AcquisitionStop", 1));
                  }
              });
}

TEST_F(SimulatorThreads, ReopenTheDeviceWhileOthersUseIt)
{
    std::atomic<DS_HANDLE> stream = m_stream;
    std::atomic<EVENT_HANDLE> event = m_event;
    const auto take = [&]
    {
        EVENT_NEW_BUFFER_DATA data{};
        size_t size = sizeof data;
        if (Tl().EventGetData(event, &data, &size, 1) == GC_ERR_SUCCESS)
        {
            Tl().DSQueueBuffer(stream, data.BufferHandle);
        }
    };
    const auto announce = [&]
    {
        BUFFER_HANDLE buffer = nullptr;
        if (Tl().DSAllocAndAnnounceBuffer(stream, 64 * 48, nullptr, &buffer) == GC_ERR_SUCCESS)
        {
            Tl().DSQueueBuffer(stream, buffer);
            Tl().DSRevokeBuffer(stream, buffer, nullptr, nullptr);
        }
    };
    RunBeside({take, announce},
              [&]
              {
                  for (int i = 0; i < 20; ++i)
                  {
                      AnnounceBuffers(4);
                      EXPECT_OK(Tl().DSStartAcquisition(m_stream, 0, GENTL_INFINITE));
                      EXPECT_OK(m_camera->Set("AcquisitionStart", 1));
                      EXPECT_OK(Tl().IFClose(m_interface));
                      OpenCamera("SIM-GIGE-1", "SIM-SIM0002");
                      SetRegion(64, 48);
                      stream = m_stream;
                      event = m_event;
                  }
              });
}

TEST_F(SimulatorThreads, CloseTheLibraryUnderAWaitingThread)
{
    std::thread waiting(
        [&]
        {
            EVENT_NEW_BUFFER_DATA data{};
            size_t size = sizeof data;
            const GC_ERROR result = Tl().EventGetData(m_event, &data, &size, GENTL_INFINITE);
            EXPECT_TRUE(result == GC_ERR_ABORT || result == GC_ERR_INVALID_HANDLE ||
                        result == GC_ERR_NOT_INITIALIZED)
                << result;
        });
    EXPECT_OK(Tl().GCCloseLib());
    waiting.join();
    EXPECT_OK(Tl().GCInitLib()); // for the end of the test
}

} // namespace
} // namespace simulator_test
