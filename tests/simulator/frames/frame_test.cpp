#include "support/byte_values.h"
#include "support/plain_pixels.h"
#include "support/simulator/simulator.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <span>
#include <zlib.h>

namespace simulator_test
{
namespace
{

uint32_t Crc(const uint8_t *bytes, size_t size)
{
    return static_cast<uint32_t>(crc32_z(0, bytes, size));
}

using internal::FormatByName;
using internal::PlainImage;
using SimulatorFrame = CameraTest;

const std::map<std::string, unsigned> formats = {
    {"Mono8", 255},    {"Mono10", 1023},       {"Mono12", 4095},      {"Mono10p", 1023},
    {"Mono12p", 4095}, {"Mono10g40QVR", 1023}, {"Mono12g24QVR", 4095}};

TEST_F(SimulatorFrame, IsPackedAsItsFormatSays)
{
    // With these widths, rows begin in the middle of bytes and groups, and the last group is incomplete.
    for (const int64_t width : {64, 65, 67, 70})
    {
        SetRegion(width, 19);
        for (const auto &[format, maximum] : formats)
        {
            for (const char *const pattern : {"GreyHorizontalRamp", "GreyVerticalRamp"})
            {
                ASSERT_OK(m_camera->SetEntry("PixelFormat", format));
                ASSERT_OK(m_camera->SetEntry("TestPattern", pattern));
                const PlainImage image(FormatByName(format), static_cast<size_t>(width), 19, GrabOne());
                const bool alongRow = std::string(pattern) == "GreyHorizontalRamp";
                size_t wrong = 0;
                for (unsigned y = 0; y < 19; ++y)
                {
                    for (unsigned x = 0; x < static_cast<unsigned>(width); ++x)
                    {
                        const unsigned expected =
                            alongRow ? x * maximum / (static_cast<unsigned>(width) - 1) : y * maximum / 18;
                        wrong += image.Sample(y * static_cast<size_t>(width) + x) == expected ? 0 : 1;
                    }
                }
                EXPECT_EQ(0U, wrong) << format << " " << pattern << " " << width;
            }
        }
    }
}

TEST_F(SimulatorFrame, ShowsTheSameSceneInEveryFormat)
{
    SetRegion(101, 75, 333, 480);
    ASSERT_OK(m_camera->SetEntry("PixelFormat", "Mono12"));
    const PlainImage reference(FormatByName("Mono12"), 101, 75, GrabOne());
    for (const auto &[format, maximum] : formats)
    {
        ASSERT_OK(m_camera->SetEntry("PixelFormat", format));
        const PlainImage image(FormatByName(format), 101, 75, GrabOne());
        size_t wrong = 0;
        for (size_t i = 0; i < 101 * 75; ++i)
        {
            const double difference = image.Sample(i) / double(maximum) - reference.Sample(i) / 4095.0;
            wrong += std::abs(difference) > 1.0 / maximum ? 1 : 0;
        }
        EXPECT_EQ(0U, wrong) << format;
    }
}

TEST_F(SimulatorFrame, RegionIsCutOutOfTheScene)
{
    const std::vector<uint8_t> whole = GrabOne();
    SetRegion(200, 100, 700, 850);
    const std::vector<uint8_t> region = GrabOne();
    // Compares rows below the frame number: the number is in the corner of the image, not of the scene.
    for (size_t y = 50; y < 100; ++y)
    {
        const auto row = region.begin() + static_cast<ptrdiff_t>(y * 200);
        const auto expected = whole.begin() + static_cast<ptrdiff_t>((y + 850) * 1280 + 700);
        ASSERT_TRUE(std::equal(row, row + 200, expected)) << y;
    }
}

TEST_F(SimulatorFrame, GetsBrighterWithExposureAndGain)
{
    SetRegion(128, 128, 600, 200);
    const auto mean = [&]
    {
        const std::vector<uint8_t> image = GrabOne();
        double sum = 0;
        for (const uint8_t sample : image)
        {
            sum += sample;
        }
        return sum / static_cast<double>(image.size());
    };
    ASSERT_OK(m_camera->SetFloat("ExposureTime", 4000.0F));
    const double dim = mean();
    ASSERT_OK(m_camera->SetFloat("ExposureTime", 8000.0F));
    EXPECT_NEAR(2.0, mean() / dim, 0.05);
    ASSERT_OK(m_camera->SetFloat("ExposureTime", 4000.0F));
    ASSERT_OK(m_camera->SetFloat("Gain", 6.0206F));
    EXPECT_NEAR(2.0, mean() / dim, 0.05);
}

TEST_F(SimulatorFrame, MovesAndCounts)
{
    SetRegion(300, 300, 0, 400);
    AnnounceBuffers(4);
    Start();
    const std::vector<uint8_t> first = Content(Receive().handle);
    const std::vector<uint8_t> second = Content(Receive().handle);
    Stop();
    EXPECT_FALSE(std::equal(first.begin(), first.begin() + 300 * 40, second.begin()));          // the number
    EXPECT_FALSE(std::equal(first.begin() + 300 * 40, first.end(), second.begin() + 300 * 40)); // the disc
}

TEST_F(SimulatorFrame, CarriesNumberAndChecksum)
{
    SetRegion(640, 480);
    ASSERT_OK(m_camera->SetEntry("PixelFormat", "Mono10p"));
    ASSERT_OK(m_camera->Set("FrameCheck", 1));
    AnnounceBuffers(4);
    Start();
    for (uint64_t number = 1; number <= 1000; ++number)
    {
        const BUFFER_HANDLE buffer = Receive().handle;
        const auto *const image = BufferInfo<const uint8_t *>(buffer, BUFFER_INFO_BASE);
        const auto at = [&]<typename T>(T value, size_t offset)
        {
            std::memcpy(&value, image + offset, sizeof value);
            return value;
        };
        ASSERT_EQ(0, std::memcmp(image, "QVRFRAME", 8));
        ASSERT_EQ(number, at(uint64_t{}, 8));
        ASSERT_EQ(number, BufferInfo<uint64_t>(buffer, BUFFER_INFO_FRAMEID));
        const auto size = at(uint64_t{}, 16);
        ASSERT_EQ(size, BufferInfo<size_t>(buffer, BUFFER_INFO_SIZE_FILLED));
        ASSERT_EQ(32U, at(uint32_t{}, 28));
        ASSERT_EQ(Crc(image + 32, size - 32), at(uint32_t{}, 24)) << number;
        ASSERT_OK(Tl().DSQueueBuffer(m_stream, buffer));
    }
    Stop();
}

/// A frame of 19 x 3 pixels with all chunks.
class SimulatorChunks : public SimulatorFrame
{
protected:
    static constexpr size_t imageSize = 72; ///< 71.25 bytes of pixels

    void SetUp() override
    {
        SimulatorFrame::SetUp();
        SetRegion(17, 3);
        ASSERT_OK(m_camera->SetEntry("PixelFormat", "Mono10p")); // 64 bytes with a partly used last one
        ASSERT_OK(m_camera->Set("Width", 19));
        ASSERT_OK(m_camera->SetFloat("ExposureTime", 1234.5F));
        ASSERT_OK(m_camera->SetFloat("Gain", 3.5F));
        ASSERT_OK(m_camera->Set("ChunkModeActive", 1));
        for (const char *const chunk : {"FrameID", "Timestamp", "ExposureTime", "Gain", "ImageChecksum"})
        {
            ASSERT_OK(m_camera->SetEntry("ChunkSelector", chunk));
            ASSERT_OK(m_camera->Set("ChunkEnable", 1));
        }
        AnnounceBuffers(4);
        Start();
        m_buffer = Receive().handle;
        m_bytes = Content(m_buffer);
        size_t count = std::size(m_chunks);
        ASSERT_OK(Tl().DSGetBufferChunkData(m_stream, m_buffer, m_chunks, &count));
    }

    template <typename T>
    T Value(size_t index) const
    {
        EXPECT_EQ(sizeof(T), size_t{m_chunks[index].ChunkLength});
        return internal::ValueAt<T>(m_bytes, static_cast<size_t>(m_chunks[index].ChunkOffset));
    }

    uint64_t BigEndian(size_t offset) const
    {
        return internal::NumberOf(std::span(m_bytes).subspan(offset, 4), true);
    }

    BUFFER_HANDLE m_buffer = nullptr;
    std::vector<uint8_t> m_bytes;
    SINGLE_CHUNK_DATA m_chunks[6]{};
};

TEST_F(SimulatorChunks, AreCountedInTheBuffer)
{
    EXPECT_EQ(1, BufferInfo<bool8_t>(m_buffer, BUFFER_INFO_CONTAINS_CHUNKDATA));
    EXPECT_EQ(m_bytes.size(), BufferInfo<size_t>(m_buffer, BUFFER_INFO_DELIVERED_CHUNKPAYLOADSIZE));
    EXPECT_EQ(m_bytes.size(), static_cast<size_t>(m_camera->Get("PayloadSize")));
    size_t count = 0;
    ASSERT_OK(Tl().DSGetBufferChunkData(m_stream, m_buffer, nullptr, &count));
    ASSERT_EQ(6U, count);
    count = 5;
    EXPECT_CODE(GC_ERR_BUFFER_TOO_SMALL, Tl().DSGetBufferChunkData(m_stream, m_buffer, m_chunks, &count));
    Stop();
}

TEST_F(SimulatorChunks, HoldTheValuesOfTheFrame)
{
    EXPECT_EQ(0, ptrdiff_t{m_chunks[0].ChunkOffset});
    EXPECT_EQ(imageSize, size_t{m_chunks[0].ChunkLength});
    EXPECT_EQ(1U, Value<uint64_t>(1));
    EXPECT_EQ(BufferInfo<uint64_t>(m_buffer, BUFFER_INFO_TIMESTAMP), Value<uint64_t>(2));
    EXPECT_EQ(1234.5F, Value<float>(3));
    EXPECT_EQ(3.5F, Value<float>(4));
    EXPECT_EQ(Crc(m_bytes.data(), imageSize), Value<uint32_t>(5));
    Stop();
}

TEST_F(SimulatorChunks, AreLinkedByTheirTrailers)
{
    // Walks from the end: each trailer leads to the one before it.
    size_t end = m_bytes.size();
    for (size_t i = 6; i-- > 0;)
    {
        EXPECT_EQ(uint64_t{m_chunks[i].ChunkID}, BigEndian(end - 8));
        EXPECT_EQ(size_t{m_chunks[i].ChunkLength}, BigEndian(end - 4));
        end -= 8 + size_t{m_chunks[i].ChunkLength};
        EXPECT_EQ(static_cast<size_t>(ptrdiff_t{m_chunks[i].ChunkOffset}), end);
    }
    EXPECT_EQ(0U, end);
    Stop();
}

TEST_F(SimulatorFrame, HasNoChunksWithoutChunkMode)
{
    AnnounceBuffers(4);
    Start();
    size_t count = 0;
    EXPECT_CODE(GC_ERR_NO_DATA, Tl().DSGetBufferChunkData(m_stream, Receive().handle, nullptr, &count));
    Stop();
}

TEST_F(SimulatorFrame, FollowsTheMovingPatterns)
{
    SetRegion(64, 20);
    AnnounceBuffers(4);
    for (const char *const pattern : {"FrameCounter", "HorizontalLineMoving", "VerticalLineMoving",
                                      "GreyHorizontalRampMoving", "GreyVerticalRampMoving"})
    {
        ASSERT_OK(m_camera->SetEntry("TestPattern", pattern));
        ASSERT_OK(Tl().DSFlushQueue(m_stream, ACQ_QUEUE_ALL_TO_INPUT));
        Start();
        for (unsigned number = 1; number <= 30; ++number)
        {
            const BUFFER_HANDLE buffer = Receive().handle;
            const std::vector<uint8_t> image = Content(buffer);
            const std::map<std::string, std::function<unsigned(unsigned, unsigned)>> expected = {
                {"FrameCounter", [&](unsigned, unsigned) { return number & 255; }},
                {"HorizontalLineMoving", [&](unsigned, unsigned y) { return y == number % 20 ? 255U : 0U; }},
                {"VerticalLineMoving", [&](unsigned x, unsigned) { return x == number % 64 ? 255U : 0U; }},
                {"GreyHorizontalRampMoving",
                 [&](unsigned x, unsigned) { return (x + number) % 64 * 255 / 63; }},
                {"GreyVerticalRampMoving",
                 [&](unsigned, unsigned y) { return (y + number) % 20 * 255 / 19; }}};
            size_t wrong = 0;
            for (unsigned i = 0; i < 64 * 20; ++i)
            {
                wrong += image[i] == expected.at(pattern)(i % 64, i / 64) ? 0 : 1;
            }
            ASSERT_EQ(0U, wrong) << pattern << " " << number;
            ASSERT_OK(Tl().DSQueueBuffer(m_stream, buffer));
        }
        Stop();
    }
}

} // namespace
} // namespace simulator_test
