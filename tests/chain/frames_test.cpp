// Frames of every simulated camera through the producer: whole, in order, none lost.

#include "consumer.h"
#include "frame_check.h"
#include "support/sanitizer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <thread>
#include <vector>

namespace chain
{
namespace
{

constexpr int buffersQueued = 4;
// A sanitizer sees as much in fewer.
constexpr uint64_t framesTaken = hasSanitizer ? 2000 : 10000;

const uint8_t *BaseOf(Camera &camera, BUFFER_HANDLE buffer)
{
    return camera.BufferInfo<const uint8_t *>(buffer, BUFFER_INFO_BASE);
}

/// The camera sends bursts of as many frames as there are buffers, as fast as it can. A slow consumer then
/// loses no frame, and a lost frame is the producer's fault.
void UseBursts(Camera &camera)
{
    camera.Remote().Set("FrameCheck", "1");
    camera.Remote().Set("AcquisitionMode", "MultiFrame");
    camera.Remote().Set("AcquisitionFrameCount", std::to_string(buffersQueued));
}

/// Takes the frames of one burst and checks each of them.
void TakeBurst(Camera &camera, uint64_t &nextFrame)
{
    for (int i = 0; i < buffersQueued; ++i, ++nextFrame)
    {
        auto *const buffer = camera.Take();
        const auto size = camera.BufferInfo<size_t>(buffer, BUFFER_INFO_SIZE_FILLED);
        const auto number = CheckedFrameNumber(BaseOf(camera, buffer), size);
        ASSERT_TRUE(number) << "frame " << nextFrame << " is damaged";
        ASSERT_EQ(*number, static_cast<uint64_t>(i) + 1); // the camera counts from each start
        ASSERT_EQ(camera.BufferInfo<uint64_t>(buffer, BUFFER_INFO_FRAMEID), nextFrame);
        camera.Give(buffer);
    }
}

class FramesOf : public testing::TestWithParam<const char *>
{
};

TEST_P(FramesOf, ArriveWholeAndInOrder)
{
    // Frames of the whole sensor take minutes, so they are sent on request only.
    const bool isFullSize = std::getenv("QVR_TEST_FULL_SIZE") != nullptr;
    gentlctl::Producer producer(proxyProducer);
    Camera camera(producer, GetParam());
    if (!isFullSize)
    {
        camera.UseSmallImages(128);
    }
    UseBursts(camera);
    camera.AnnounceAndQueue(buffersQueued);
    camera.RegisterEvent();
    camera.Start();
    uint64_t nextFrame = 1;
    while (nextFrame <= framesTaken && !HasFatalFailure())
    {
        TakeBurst(camera, nextFrame);
        camera.Remote().Execute("AcquisitionStart");
    }
    EXPECT_EQ(camera.StreamInfo(STREAM_INFO_NUM_UNDERRUN), 0U);
    EXPECT_EQ(camera.StreamInfo(STREAM_INFO_NUM_DELIVERED), framesTaken);
    camera.Stop(ACQ_STOP_FLAGS_KILL);
}

INSTANTIATE_TEST_SUITE_P(Cameras, FramesOf,
                         testing::Values("OVRA-M5", "OVRA-M1", "OVRA-C5", "OVRA-S2", "OVRA-F1"),
                         [](const auto &camera) { return std::string(camera.param).substr(5); });

TEST(TwoDevices, StreamAtOnce)
{
    gentlctl::Producer producer(proxyProducer);
    Camera first(producer, "OVRA-M5");
    Camera second(producer, "OVRA-M1");
    std::vector<std::thread> consumers;
    std::atomic<int> done = 0;
    for (auto *camera : {&first, &second})
    {
        camera->UseSmallImages();
        UseBursts(*camera);
        camera->AnnounceAndQueue(buffersQueued);
        camera->RegisterEvent();
        camera->Start();
    }
    for (auto *camera : {&first, &second})
    {
        consumers.emplace_back(
            [camera, &done]
            {
                uint64_t nextFrame = 1;
                while (nextFrame <= 400 && !testing::Test::HasFatalFailure())
                {
                    TakeBurst(*camera, nextFrame);
                    camera->Remote().Execute("AcquisitionStart");
                }
                ++done;
            });
    }
    for (auto &consumer : consumers)
    {
        consumer.join();
    }
    EXPECT_EQ(done, 2);
    first.Stop(ACQ_STOP_FLAGS_KILL);
    second.Stop(ACQ_STOP_FLAGS_DEFAULT);
}

TEST(AForeignDevice, IsListedAndNotOpened)
{
    gentlctl::Producer producer(proxyProducer);
    try
    {
        Camera(producer, "SIM-FOREIGN");
        FAIL();
    }
    catch (const std::runtime_error &exception)
    {
        EXPECT_NE(std::string(exception.what()).find("Access denied!"), std::string::npos)
            << exception.what();
    }
}

TEST(Chunks, StandBehindTheImage)
{
    gentlctl::Producer producer(proxyProducer);
    Camera camera(producer, "OVRA-M1");
    camera.UseSmallImages();
    const auto imageSize = camera.PayloadSize();
    camera.Remote().Set("ChunkModeActive", "1");
    for (const auto *chunk : {"FrameID", "Timestamp", "ExposureTime", "Gain", "ImageChecksum"})
    {
        camera.Remote().Set("ChunkSelector", chunk);
        camera.Remote().Set("ChunkEnable", "1");
    }
    EXPECT_GT(camera.PayloadSize(), imageSize);
    camera.AnnounceAndQueue(buffersQueued);
    camera.RegisterEvent();
    camera.Start();
    auto *const buffer = camera.Take();
    EXPECT_EQ(camera.BufferInfo<bool8_t>(buffer, BUFFER_INFO_CONTAINS_CHUNKDATA), 1);
    size_t count = 0;
    camera.Calls().DSGetBufferChunkData(camera.Stream(), buffer, nullptr, &count);
    ASSERT_EQ(count, 6U);
    std::vector<SINGLE_CHUNK_DATA> chunks(count);
    camera.Calls().DSGetBufferChunkData(camera.Stream(), buffer, chunks.data(), &count);
    const auto *base = BaseOf(camera, buffer);
    const auto size = camera.BufferInfo<size_t>(buffer, BUFFER_INFO_SIZE);
    bool hasChecksum = false;
    for (const auto &packed : chunks)
    {
        const auto chunk = packed;
        ASSERT_LE(static_cast<size_t>(chunk.ChunkOffset) + chunk.ChunkLength, size);
        uint32_t value = 0;
        if (chunk.ChunkOffset != 0 && chunk.ChunkLength == sizeof value)
        {
            std::memcpy(&value, base + chunk.ChunkOffset, sizeof value);
            hasChecksum = hasChecksum || value == crc32_z(0, base, imageSize);
        }
    }
    EXPECT_TRUE(hasChecksum);
    camera.Stop(ACQ_STOP_FLAGS_KILL);
}

} // namespace
} // namespace chain
