#include "support/simulator/simulator.h"

namespace simulator_test
{
namespace
{

class SimulatorBuffer : public CameraTest
{
protected:
    void SetUp() override
    {
        CameraTest::SetUp();
        SetRegion(66, 48, 10, 20);
        ASSERT_OK(m_camera->SetEntry("PixelFormat", "Mono12p"));
    }
};

TEST_F(SimulatorBuffer, CanBeAnnouncedQueuedAndRevoked)
{
    std::vector<uint8_t> memory(4096);
    int user = 0;
    BUFFER_HANDLE buffer = nullptr;
    EXPECT_CODE(GC_ERR_INVALID_PARAMETER, Tl().DSAnnounceBuffer(m_stream, nullptr, 10, nullptr, &buffer));
    EXPECT_CODE(GC_ERR_INVALID_PARAMETER,
                Tl().DSAnnounceBuffer(m_stream, memory.data(), 0, nullptr, &buffer));
    EXPECT_CODE(GC_ERR_OUT_OF_MEMORY, Tl().DSAllocAndAnnounceBuffer(m_stream, SIZE_MAX, nullptr, &buffer));
    ASSERT_OK(Tl().DSAnnounceBuffer(m_stream, memory.data(), memory.size(), &user, &buffer));
    BUFFER_HANDLE same = nullptr;
    EXPECT_CODE(GC_ERR_RESOURCE_IN_USE,
                Tl().DSAnnounceBuffer(m_stream, memory.data(), memory.size(), &user, &same));
    EXPECT_OK(Tl().DSGetBufferID(m_stream, 0, &same));
    EXPECT_EQ(buffer, same);
    EXPECT_CODE(GC_ERR_INVALID_INDEX, Tl().DSGetBufferID(m_stream, 1, &same));

    ASSERT_OK(Tl().DSQueueBuffer(m_stream, buffer));
    EXPECT_CODE(GC_ERR_RESOURCE_IN_USE, Tl().DSQueueBuffer(m_stream, buffer));
    EXPECT_EQ(1, BufferInfo<bool8_t>(buffer, BUFFER_INFO_IS_QUEUED));
    EXPECT_CODE(GC_ERR_BUSY, Tl().DSRevokeBuffer(m_stream, buffer, nullptr, nullptr));
    ASSERT_OK(Tl().DSFlushQueue(m_stream, ACQ_QUEUE_ALL_DISCARD));
    void *base = nullptr;
    void *userPointer = nullptr;
    ASSERT_OK(Tl().DSRevokeBuffer(m_stream, buffer, &base, &userPointer));
    EXPECT_EQ(memory.data(), base);
    EXPECT_EQ(&user, userPointer);
    EXPECT_CODE(GC_ERR_INVALID_HANDLE, Tl().DSQueueBuffer(m_stream, buffer));
}

TEST_F(SimulatorBuffer, AnswersEveryQueryAboutAFrame)
{
    AnnounceBuffers(4);
    Start();
    const BUFFER_HANDLE buffer = Receive().handle;
    const size_t imageSize = 66 * 48 * 12 / 8;
    EXPECT_EQ(imageSize, BufferInfo<size_t>(buffer, BUFFER_INFO_SIZE));
    EXPECT_EQ(imageSize, BufferInfo<size_t>(buffer, BUFFER_INFO_SIZE_FILLED));
    EXPECT_EQ(imageSize, BufferInfo<size_t>(buffer, BUFFER_INFO_DATA_SIZE));
    EXPECT_EQ(66U, BufferInfo<size_t>(buffer, BUFFER_INFO_WIDTH));
    EXPECT_EQ(48U, BufferInfo<size_t>(buffer, BUFFER_INFO_HEIGHT));
    EXPECT_EQ(48U, BufferInfo<size_t>(buffer, BUFFER_INFO_DELIVERED_IMAGEHEIGHT));
    EXPECT_EQ(10U, BufferInfo<size_t>(buffer, BUFFER_INFO_XOFFSET));
    EXPECT_EQ(20U, BufferInfo<size_t>(buffer, BUFFER_INFO_YOFFSET));
    EXPECT_EQ(0U, BufferInfo<size_t>(buffer, BUFFER_INFO_XPADDING));
    EXPECT_EQ(0U, BufferInfo<size_t>(buffer, BUFFER_INFO_YPADDING));
    EXPECT_EQ(0U, BufferInfo<size_t>(buffer, BUFFER_INFO_IMAGEOFFSET));
    EXPECT_EQ(0x010C0047U, BufferInfo<uint64_t>(buffer, BUFFER_INFO_PIXELFORMAT));
    EXPECT_EQ(4U, BufferInfo<uint64_t>(buffer, BUFFER_INFO_PIXELFORMAT_NAMESPACE));
    EXPECT_EQ(PIXELENDIANNESS_LITTLE, BufferInfo<int32_t>(buffer, BUFFER_INFO_PIXEL_ENDIANNESS));
    EXPECT_EQ(size_t{PAYLOAD_TYPE_IMAGE}, BufferInfo<size_t>(buffer, BUFFER_INFO_PAYLOADTYPE));
    EXPECT_EQ(1, BufferInfo<bool8_t>(buffer, BUFFER_INFO_IMAGEPRESENT));
    EXPECT_EQ(1, BufferInfo<bool8_t>(buffer, BUFFER_INFO_NEW_DATA));
    EXPECT_EQ(0, BufferInfo<bool8_t>(buffer, BUFFER_INFO_IS_QUEUED));
    EXPECT_EQ(0, BufferInfo<bool8_t>(buffer, BUFFER_INFO_IS_ACQUIRING));
    EXPECT_EQ(0, BufferInfo<bool8_t>(buffer, BUFFER_INFO_IS_INCOMPLETE));
    EXPECT_EQ(0, BufferInfo<bool8_t>(buffer, BUFFER_INFO_CONTAINS_CHUNKDATA));
    EXPECT_EQ(0, BufferInfo<bool8_t>(buffer, BUFFER_INFO_IS_COMPOSITE));
    EXPECT_GT(BufferInfo<uint64_t>(buffer, BUFFER_INFO_TIMESTAMP_NS), 0U);
    const auto query = [&](BUFFER_INFO_CMD command)
    {
        INFO_DATATYPE type = 0;
        size_t size = 0;
        return Tl().DSGetBufferInfo(m_stream, buffer, command, &type, nullptr, &size);
    };
    for (BUFFER_INFO_CMD command = BUFFER_INFO_BASE; command <= BUFFER_INFO_IS_COMPOSITE; ++command)
    {
        EXPECT_CODE(command == BUFFER_INFO_FILENAME ? GC_ERR_NOT_AVAILABLE : GC_ERR_SUCCESS, query(command));
    }
    EXPECT_CODE(GC_ERR_NOT_IMPLEMENTED, query(BUFFER_INFO_IS_COMPOSITE + 1));
    EXPECT_CODE(GC_ERR_NOT_IMPLEMENTED, query(-1));
    Stop();
}

TEST_F(SimulatorBuffer, HasNoFrameInfoBeforeTheFirstFrame)
{
    AnnounceBuffers(1);
    INFO_DATATYPE type = 0;
    size_t size = 0;
    EXPECT_CODE(GC_ERR_NOT_AVAILABLE,
                Tl().DSGetBufferInfo(m_stream, m_buffers[0], BUFFER_INFO_WIDTH, &type, nullptr, &size));
    EXPECT_EQ(0, BufferInfo<bool8_t>(m_buffers[0], BUFFER_INFO_NEW_DATA));
    uint32_t parts = 7;
    EXPECT_OK(Tl().DSGetNumBufferParts(m_stream, m_buffers[0], &parts));
    EXPECT_EQ(0U, parts);
}

TEST_F(SimulatorBuffer, AnImageIsOnePart)
{
    AnnounceBuffers(4);
    Start();
    const BUFFER_HANDLE buffer = Receive().handle;
    uint32_t parts = 0;
    ASSERT_OK(Tl().DSGetNumBufferParts(m_stream, buffer, &parts));
    EXPECT_EQ(1U, parts);
    const auto part = [&]<typename T>(T, BUFFER_PART_INFO_CMD command)
    {
        return Ask<T>([&](auto *type, void *out, size_t *size)
                      { return Tl().DSGetBufferPartInfo(m_stream, buffer, 0, command, type, out, size); });
    };
    EXPECT_EQ(BufferInfo<void *>(buffer, BUFFER_INFO_BASE),
              part(static_cast<void *>(nullptr), BUFFER_PART_INFO_BASE));
    EXPECT_EQ(66U * 48 * 12 / 8, part(size_t{}, BUFFER_PART_INFO_DATA_SIZE));
    EXPECT_EQ(size_t{PART_DATATYPE_2D_IMAGE}, part(size_t{}, BUFFER_PART_INFO_DATA_TYPE));
    EXPECT_EQ(0x010C0047U, part(uint64_t{}, BUFFER_PART_INFO_DATA_FORMAT));
    EXPECT_EQ(66U, part(size_t{}, BUFFER_PART_INFO_WIDTH));
    EXPECT_EQ(48U, part(size_t{}, BUFFER_PART_INFO_HEIGHT));
    INFO_DATATYPE type = 0;
    size_t size = 0;
    for (BUFFER_PART_INFO_CMD command = 0; command <= BUFFER_PART_INFO_DATA_PURPOSE_ID; ++command)
    {
        EXPECT_OK(Tl().DSGetBufferPartInfo(m_stream, buffer, 0, command, &type, nullptr, &size));
    }
    EXPECT_CODE(GC_ERR_INVALID_INDEX,
                Tl().DSGetBufferPartInfo(m_stream, buffer, 1, 0, &type, nullptr, &size));
    EXPECT_CODE(GC_ERR_NOT_IMPLEMENTED,
                Tl().DSGetBufferPartInfo(m_stream, buffer, 0, 99, &type, nullptr, &size));
    Stop();
}

TEST_F(SimulatorBuffer, AnswersStackedQueriesOneByOne)
{
    AnnounceBuffers(4);
    Start();
    const BUFFER_HANDLE buffer = Receive().handle;
    size_t width = 0;
    uint64_t number = 0;
    DS_BUFFER_INFO_STACKED queries[] = {{BUFFER_INFO_WIDTH, 0, &width, sizeof width, -1},
                                        {BUFFER_INFO_FILENAME, 0, nullptr, 0, 0},
                                        {BUFFER_INFO_FRAMEID, 0, &number, sizeof number, -1}};
    EXPECT_CODE(GC_ERR_NOT_AVAILABLE, Tl().DSGetBufferInfoStacked(m_stream, buffer, queries, 3));
    EXPECT_EQ(66U, width);
    EXPECT_EQ(1U, number);
    EXPECT_EQ(GC_ERR_SUCCESS, GC_ERROR{queries[0].iResult});
    EXPECT_EQ(GC_ERR_NOT_AVAILABLE, GC_ERROR{queries[1].iResult});
    EXPECT_EQ(GC_ERR_SUCCESS, GC_ERROR{queries[2].iResult});
    EXPECT_EQ(INFO_DATATYPE_UINT64, INFO_DATATYPE{queries[2].iType});

    size_t height = 0;
    DS_BUFFER_PART_INFO_STACKED parts[] = {{0, BUFFER_PART_INFO_HEIGHT, -1, 0, &height, sizeof height},
                                           {1, BUFFER_PART_INFO_HEIGHT, 0, 0, &height, sizeof height}};
    EXPECT_CODE(GC_ERR_INVALID_INDEX, Tl().DSGetBufferPartInfoStacked(m_stream, buffer, parts, 2));
    EXPECT_EQ(48U, height);
    EXPECT_OK(Tl().DSGetBufferPartInfoStacked(m_stream, buffer, parts, 1));
    Stop();
}

} // namespace
} // namespace simulator_test
