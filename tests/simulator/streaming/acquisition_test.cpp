#include "support/simulator/simulator.h"

#include <atomic>
#include <thread>

namespace simulator_test
{
namespace
{

class SimulatorAcquisition : public CameraTest
{
protected:
    void SetUp() override
    {
        CameraTest::SetUp();
        SetRegion(64, 48);
    }

    /// Announces buffers and waits until all hold a frame.
    void FillBuffers(size_t count)
    {
        AnnounceBuffers(count);
        Start();
        while (StreamInfo<size_t>(STREAM_INFO_NUM_AWAIT_DELIVERY) < count)
        {
            std::this_thread::yield();
        }
    }

    GC_ERROR Wait(uint64_t timeout)
    {
        EVENT_NEW_BUFFER_DATA data{};
        size_t size = sizeof data;
        return Tl().EventGetData(m_event, &data, &size, timeout);
    }
};

TEST_F(SimulatorAcquisition, NumbersFramesWithoutAGap)
{
    AnnounceBuffers(4);
    Start();
    for (uint64_t number = 1; number <= 200; ++number)
    {
        const Received received = Receive();
        EXPECT_EQ(&m_buffers, received.userPointer);
        EXPECT_EQ(number, BufferInfo<uint64_t>(received.handle, BUFFER_INFO_FRAMEID));
        ASSERT_OK(Tl().DSQueueBuffer(m_stream, received.handle));
    }
    Stop();
    EXPECT_EQ(0U, StreamInfo<uint64_t>(STREAM_INFO_NUM_UNDERRUN));
    EXPECT_EQ(200U, StreamInfo<uint64_t>(STREAM_INFO_NUM_DELIVERED));
}

TEST_F(SimulatorAcquisition, WaitsForABufferAtRateZero)
{
    AnnounceBuffers(4);
    Start();
    std::vector<BUFFER_HANDLE> all;
    for (int i = 0; i < 4; ++i)
    {
        all.push_back(Receive().handle);
    }
    EXPECT_CODE(GC_ERR_TIMEOUT, Wait(50));
    ASSERT_OK(Tl().DSQueueBuffer(m_stream, all[2]));
    const Received next = Receive();
    EXPECT_EQ(all[2], next.handle);
    EXPECT_EQ(5U, BufferInfo<uint64_t>(next.handle, BUFFER_INFO_FRAMEID));
    Stop();
    EXPECT_EQ(0U, StreamInfo<uint64_t>(STREAM_INFO_NUM_UNDERRUN));
}

TEST_F(SimulatorAcquisition, CountsDroppedFramesAtARate)
{
    AnnounceBuffers(4);
    ASSERT_OK(m_camera->SetFloat("AcquisitionFrameRate", 1000.0F));
    Start();
    for (int i = 0; i < 4; ++i)
    {
        EXPECT_NE(nullptr, Receive().handle);
    }
    const Nodes stream(m_stream);
    while (stream.Get("StreamDroppedFrameCount") < 3)
    {
        std::this_thread::yield();
    }
    ASSERT_OK(Tl().DSQueueBuffer(m_stream, m_buffers[0]));
    const uint64_t number = BufferInfo<uint64_t>(Receive().handle, BUFFER_INFO_FRAMEID);
    EXPECT_GE(number, 8U);
    Stop();
    EXPECT_GE(StreamInfo<uint64_t>(STREAM_INFO_NUM_UNDERRUN), number - 5);
}

TEST_F(SimulatorAcquisition, SendsOneFrameInSingleFrameMode)
{
    ASSERT_OK(m_camera->SetEntry("AcquisitionMode", "SingleFrame"));
    AnnounceBuffers(4);
    Start();
    Receive();
    EXPECT_CODE(GC_ERR_TIMEOUT, Wait(50));
    ASSERT_OK(m_camera->Set("AcquisitionStart", 1));
    EXPECT_EQ(1U, BufferInfo<uint64_t>(Receive().handle, BUFFER_INFO_FRAMEID));
    Stop();
}

TEST_F(SimulatorAcquisition, SendsFrameCountInMultiFrameMode)
{
    ASSERT_OK(m_camera->SetEntry("AcquisitionMode", "MultiFrame"));
    ASSERT_OK(m_camera->Set("AcquisitionFrameCount", 3));
    AnnounceBuffers(6);
    Start();
    for (int i = 0; i < 3; ++i)
    {
        Receive();
    }
    EXPECT_CODE(GC_ERR_TIMEOUT, Wait(50));
    Stop();
}

TEST_F(SimulatorAcquisition, SendsAFrameForEachSoftwareTrigger)
{
    ASSERT_OK(m_camera->SetEntry("TriggerMode", "On"));
    ASSERT_OK(m_camera->SetEntry("TriggerSource", "Software"));
    ASSERT_OK(m_camera->Set("TriggerSoftware", 1)); // ignored: the camera does not acquire yet
    AnnounceBuffers(4);
    Start();
    EXPECT_CODE(GC_ERR_TIMEOUT, Wait(20));
    ASSERT_OK(m_camera->Set("TriggerSoftware", 1));
    EXPECT_EQ(1U, BufferInfo<uint64_t>(Receive().handle, BUFFER_INFO_FRAMEID));
    EXPECT_CODE(GC_ERR_TIMEOUT, Wait(20));
    ASSERT_OK(m_camera->Set("TriggerSoftware", 1));
    ASSERT_OK(m_camera->Set("TriggerSoftware", 1));
    EXPECT_EQ(2U, BufferInfo<uint64_t>(Receive().handle, BUFFER_INFO_FRAMEID));
    EXPECT_EQ(3U, BufferInfo<uint64_t>(Receive().handle, BUFFER_INFO_FRAMEID));
    EXPECT_CODE(GC_ERR_TIMEOUT, Wait(20));
    Stop();
}

TEST_F(SimulatorAcquisition, TakesSoftwareTriggersFromTheirSourceAlone)
{
    ASSERT_OK(m_camera->SetEntry("TriggerMode", "On"));
    AnnounceBuffers(4);
    Start();
    ASSERT_OK(m_camera->Set("TriggerSoftware", 1)); // the source is Line0
    EXPECT_CODE(GC_ERR_TIMEOUT, Wait(20));
    ASSERT_OK(m_camera->SetEntry("TriggerMode", "Off"));
    EXPECT_EQ(1U, BufferInfo<uint64_t>(Receive().handle, BUFFER_INFO_FRAMEID));
    Stop();
}

TEST_F(SimulatorAcquisition, EndsAfterTheRequestedFrames)
{
    AnnounceBuffers(6);
    Start(2);
    Receive();
    Receive();
    EXPECT_CODE(GC_ERR_TIMEOUT, Wait(50));
    EXPECT_EQ(0, StreamInfo<bool8_t>(STREAM_INFO_IS_GRABBING));
    Stop();
}

TEST_F(SimulatorAcquisition, RefusesToStartWithTooFewBuffers)
{
    const size_t minimum = StreamInfo<size_t>(STREAM_INFO_BUF_ANNOUNCE_MIN);
    AnnounceBuffers(minimum - 1);
    EXPECT_CODE(GC_ERR_INVALID_BUFFER, Tl().DSStartAcquisition(m_stream, 0, GENTL_INFINITE));
    AnnounceBuffers(1);
    EXPECT_OK(Tl().DSStartAcquisition(m_stream, 0, GENTL_INFINITE));
}

TEST_F(SimulatorAcquisition, RefusesASecondStartAndStop)
{
    AnnounceBuffers(4);
    EXPECT_CODE(GC_ERR_RESOURCE_IN_USE, Tl().DSStopAcquisition(m_stream, ACQ_STOP_FLAGS_DEFAULT));
    EXPECT_CODE(GC_ERR_INVALID_PARAMETER, Tl().DSStartAcquisition(m_stream, 0, 0));
    EXPECT_CODE(GC_ERR_INVALID_PARAMETER, Tl().DSStartAcquisition(m_stream, 7, 1));
    Start();
    EXPECT_CODE(GC_ERR_RESOURCE_IN_USE, Tl().DSStartAcquisition(m_stream, 0, GENTL_INFINITE));
    EXPECT_CODE(GC_ERR_INVALID_PARAMETER, Tl().DSStopAcquisition(m_stream, 7));
    Stop(ACQ_STOP_FLAGS_KILL);
    EXPECT_CODE(GC_ERR_RESOURCE_IN_USE, Tl().DSStopAcquisition(m_stream, ACQ_STOP_FLAGS_DEFAULT));
    Start();
    Stop();
}

TEST_F(SimulatorAcquisition, LocksTheImageLayout)
{
    AnnounceBuffers(4);
    Start();
    EXPECT_CODE(GC_ERR_ACCESS_DENIED, m_camera->Set("Width", 32));
    EXPECT_CODE(GC_ERR_ACCESS_DENIED, m_camera->SetEntry("PixelFormat", "Mono12"));
    EXPECT_OK(m_camera->SetFloat("ExposureTime", 5000.0F));
    EXPECT_OK(m_camera->SetEntry("TestPattern", "White"));
    Stop();
    EXPECT_OK(m_camera->Set("Width", 32));
}

TEST_F(SimulatorAcquisition, RestartsFromFrameOne)
{
    AnnounceBuffers(4);
    for (int i = 0; i < 3; ++i)
    {
        Start();
        EXPECT_EQ(1U, BufferInfo<uint64_t>(Receive().handle, BUFFER_INFO_FRAMEID));
        Stop();
        ASSERT_OK(Tl().DSFlushQueue(m_stream, ACQ_QUEUE_ALL_TO_INPUT));
    }
}

TEST_F(SimulatorAcquisition, MarksAFrameLargerThanItsBuffer)
{
    std::vector<std::vector<uint8_t>> memory(4, std::vector<uint8_t>(1000));
    for (auto &bytes : memory)
    {
        BUFFER_HANDLE buffer = nullptr;
        ASSERT_OK(Tl().DSAnnounceBuffer(m_stream, bytes.data(), bytes.size(), nullptr, &buffer));
        ASSERT_OK(Tl().DSQueueBuffer(m_stream, buffer));
    }
    Start();
    const BUFFER_HANDLE buffer = Receive().handle;
    EXPECT_EQ(1, BufferInfo<bool8_t>(buffer, BUFFER_INFO_IS_INCOMPLETE));
    EXPECT_EQ(1, BufferInfo<bool8_t>(buffer, BUFFER_INFO_DATA_LARGER_THAN_BUFFER));
    EXPECT_EQ(1000U, BufferInfo<size_t>(buffer, BUFFER_INFO_SIZE_FILLED));
    Stop();
    ASSERT_OK(Tl().DSClose(m_stream)); // before the memory goes
}

using SimulatorEventKill = SimulatorAcquisition;

TEST_F(SimulatorEventKill, EndsTheNextWaitWhenNobodyWaits)
{
    ASSERT_OK(Tl().EventKill(m_event));
    ASSERT_OK(Tl().EventKill(m_event));
    EXPECT_CODE(GC_ERR_ABORT, Wait(GENTL_INFINITE));
    EXPECT_CODE(GC_ERR_TIMEOUT, Wait(0));
}

TEST_F(SimulatorEventKill, EndsExactlyOneWait)
{
    std::atomic<int> aborted = 0;
    std::vector<std::thread> waiting;
    for (int i = 0; i < 2; ++i)
    {
        waiting.emplace_back([&] { aborted += Wait(GENTL_INFINITE) == GC_ERR_ABORT ? 1 : 0; });
    }
    ASSERT_OK(Tl().EventKill(m_event));
    while (aborted < 1)
    {
        std::this_thread::yield();
    }
    EXPECT_EQ(1, aborted);
    ASSERT_OK(Tl().EventKill(m_event));
    for (std::thread &thread : waiting)
    {
        thread.join();
    }
    EXPECT_EQ(2, aborted);
    EXPECT_CODE(GC_ERR_TIMEOUT, Wait(0));
}

TEST_F(SimulatorEventKill, ComesBeforeWaitingFrames)
{
    FillBuffers(4);
    Stop();
    ASSERT_OK(Tl().EventKill(m_event));
    EXPECT_CODE(GC_ERR_ABORT, Wait(0));
    EXPECT_OK(Wait(0));
}

TEST_F(SimulatorEventKill, ClosingTheDeviceAbortsAWait)
{
    AnnounceBuffers(4);
    Start();
    std::thread waiting(
        [&]
        {
            GC_ERROR result = GC_ERR_SUCCESS;
            while (result == GC_ERR_SUCCESS)
            {
                result = Wait(GENTL_INFINITE);
            }
            EXPECT_TRUE(result == GC_ERR_ABORT || result == GC_ERR_INVALID_HANDLE);
        });
    ASSERT_OK(Tl().DevClose(m_device));
    waiting.join();
}

TEST_F(SimulatorAcquisition, FrameOutlivesItsDevice)
{
    AnnounceBuffers(4);
    Start();
    const BUFFER_HANDLE buffer = Receive().handle;
    const auto *const base = BufferInfo<const uint8_t *>(buffer, BUFFER_INFO_BASE);
    const std::vector<uint8_t> before = Content(buffer);
    ASSERT_OK(Tl().DevClose(m_device));
    EXPECT_EQ(before, std::vector<uint8_t>(base, base + before.size()));
    EXPECT_CODE(GC_ERR_INVALID_HANDLE, Tl().DSClose(m_stream));
}

TEST_F(SimulatorAcquisition, StopKeepsTheOutputQueue)
{
    FillBuffers(4);
    Stop(ACQ_STOP_FLAGS_KILL);
    for (uint64_t number = 1; number <= 4; ++number)
    {
        EXPECT_EQ(number, BufferInfo<uint64_t>(Receive().handle, BUFFER_INFO_FRAMEID));
    }
}

TEST_F(SimulatorAcquisition, AnswersQueriesAboutItsEvent)
{
    AnnounceBuffers(4);
    ASSERT_OK(Tl().DSFlushQueue(m_stream, ACQ_QUEUE_INPUT_TO_OUTPUT));
    const auto info = [&]<typename T>(T, EVENT_INFO_CMD command)
    {
        return Ask<T>([&](auto *type, void *out, size_t *size)
                      { return Tl().EventGetInfo(m_event, command, type, out, size); });
    };
    EXPECT_EQ(EVENT_NEW_BUFFER, info(int32_t{}, EVENT_EVENT_TYPE));
    EXPECT_EQ(4U, info(size_t{}, EVENT_NUM_IN_QUEUE));
    EXPECT_EQ(4U, info(uint64_t{}, EVENT_NUM_FIRED));
    EXPECT_EQ(sizeof(EVENT_NEW_BUFFER_DATA), info(size_t{}, EVENT_SIZE_MAX));
    EXPECT_EQ(sizeof(EVENT_NEW_BUFFER_DATA), info(size_t{}, EVENT_INFO_DATA_SIZE_MAX));

    const EVENT_NEW_BUFFER_DATA data{m_buffers[0], this};
    const auto dataInfo = [&]<typename T>(T, EVENT_DATA_INFO_CMD command)
    {
        return Ask<T>(
            [&](auto *type, void *out, size_t *size)
            { return Tl().EventGetDataInfo(m_event, &data, sizeof data, command, type, out, size); });
    };
    EXPECT_EQ(m_buffers[0], dataInfo(static_cast<void *>(nullptr), EVENT_DATA_ID));
    EXPECT_EQ(this, dataInfo(static_cast<void *>(nullptr), EVENT_DATA_VALUE));
    INFO_DATATYPE type = 0;
    size_t size = 0;
    EXPECT_CODE(GC_ERR_INVALID_PARAMETER,
                Tl().EventGetDataInfo(m_event, &data, 15, EVENT_DATA_ID, &type, nullptr, &size));
}

TEST_F(SimulatorAcquisition, LaterEventGetsWaitingFrames)
{
    AnnounceBuffers(4);
    ASSERT_OK(Tl().GCUnregisterEvent(m_stream, EVENT_NEW_BUFFER));
    ASSERT_OK(Tl().DSFlushQueue(m_stream, ACQ_QUEUE_INPUT_TO_OUTPUT));
    ASSERT_OK(Tl().GCRegisterEvent(m_stream, EVENT_NEW_BUFFER, &m_event));
    EXPECT_EQ(m_buffers[0], Receive().handle);
    EVENT_NEW_BUFFER_DATA data{};
    size_t size = sizeof data - 1;
    EXPECT_CODE(GC_ERR_BUFFER_TOO_SMALL, Tl().EventGetData(m_event, &data, &size, 0));
    EXPECT_EQ(m_buffers[1], Receive().handle);
}

using SimulatorFlush = SimulatorAcquisition;

TEST_F(SimulatorFlush, MovesBuffersBetweenTheQueues)
{
    AnnounceBuffers(4);
    const auto expectCounts = [&](size_t queued, size_t output)
    {
        EXPECT_EQ(queued, StreamInfo<size_t>(STREAM_INFO_NUM_QUEUED));
        EXPECT_EQ(output, StreamInfo<size_t>(STREAM_INFO_NUM_AWAIT_DELIVERY));
    };
    expectCounts(4, 0);
    ASSERT_OK(Tl().DSFlushQueue(m_stream, ACQ_QUEUE_INPUT_TO_OUTPUT));
    expectCounts(0, 4);
    EXPECT_EQ(0, BufferInfo<bool8_t>(Receive().handle, BUFFER_INFO_NEW_DATA));
    ASSERT_OK(Tl().DSFlushQueue(m_stream, ACQ_QUEUE_UNQUEUED_TO_INPUT));
    expectCounts(1, 3);
    ASSERT_OK(Tl().DSFlushQueue(m_stream, ACQ_QUEUE_OUTPUT_DISCARD));
    expectCounts(1, 0);
    ASSERT_OK(Tl().DSFlushQueue(m_stream, ACQ_QUEUE_ALL_TO_INPUT));
    expectCounts(4, 0);
    ASSERT_OK(Tl().DSFlushQueue(m_stream, ACQ_QUEUE_ALL_DISCARD));
    expectCounts(0, 0);
    EXPECT_CODE(GC_ERR_INVALID_PARAMETER, Tl().DSFlushQueue(m_stream, 5));
}

TEST_F(SimulatorFlush, EventFlushDiscardsTheOutputQueue)
{
    AnnounceBuffers(4);
    ASSERT_OK(Tl().DSFlushQueue(m_stream, ACQ_QUEUE_INPUT_TO_OUTPUT));
    ASSERT_OK(Tl().EventFlush(m_event));
    EXPECT_CODE(GC_ERR_TIMEOUT, Wait(0));
    EXPECT_OK(Tl().DSQueueBuffer(m_stream, m_buffers[0]));
}

} // namespace
} // namespace simulator_test
