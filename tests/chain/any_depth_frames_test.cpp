// Depth of the producer for any camera in running acquisitions: with chunks, again and again, and locked.

#include "any_depth.h"
#include "support/byte_values.h"
#include "support/failure.h"

#include <gtest/gtest.h>

#include <array>
#include <map>
#include <span>

namespace chain
{
namespace
{

using internal::FailureOf;

using Chunks = std::map<uint64_t, std::vector<uint8_t>>;

/// A running acquisition of a small region.
class AnyDepthFrames : public AnyDepth
{
protected:
    void SetUp() override { Use(m_camera, {"", 1, 1, 1, 1, 64, 40, 150, 270}); }

    void Start()
    {
        Remote().Set("AcquisitionMode", "Continuous");
        m_camera.AnnounceAndQueue(4);
        m_camera.RegisterEvent();
        m_camera.Start();
    }

    void Stop() { StopAndRevoke(m_camera); }

    /// The chunks by their ids, as the list tells them.
    Chunks ListedChunks(BUFFER_HANDLE buffer)
    {
        std::array<SINGLE_CHUNK_DATA, 16> list{};
        size_t count = list.size();
        m_camera.Calls().DSGetBufferChunkData(m_camera.Stream(), buffer, list.data(), &count);
        const auto *const base = m_camera.BufferInfo<const uint8_t *>(buffer, BUFFER_INFO_BASE);
        Chunks chunks;
        for (size_t i = 0; i < count; ++i)
        {
            const auto *const begin = base + list.at(i).ChunkOffset;
            chunks[list.at(i).ChunkID].assign(begin, begin + list.at(i).ChunkLength);
        }
        return chunks;
    }

    /// The chunks by their ids, as the trailers behind them tell: an id and a length, both big-endian.
    Chunks TrailedChunks(BUFFER_HANDLE buffer)
    {
        const auto *const base = m_camera.BufferInfo<const uint8_t *>(buffer, BUFFER_INFO_BASE);
        auto end = m_camera.BufferInfo<size_t>(buffer, BUFFER_INFO_SIZE_FILLED);
        const auto numberAt = [base](size_t place)
        { return internal::NumberOf(std::span(base + place, 4), true); };
        Chunks chunks;
        while (end >= 8)
        {
            const auto length = numberAt(end - 4);
            if (length > end - 8)
            {
                ADD_FAILURE() << "a chunk of " << length << " bytes that end at " << end - 8;
                break;
            }
            chunks[numberAt(end - 8)].assign(base + end - 8 - length, base + end - 8);
            end -= 8 + length;
        }
        EXPECT_EQ(end, 0U);
        return chunks;
    }

    void EnableChunks()
    {
        Remote().Set("ChunkModeActive", "1");
        for (const auto &chunk : Remote().AvailableEntries("ChunkSelector"))
        {
            Remote().Set("ChunkSelector", chunk);
            if (!Remote().Get("ChunkEnable").get<bool>())
            {
                Remote().Set("ChunkEnable", "1");
            }
        }
    }
};

constexpr uint64_t imageChunk = 1;
constexpr uint64_t frameIdChunk = 2;
constexpr size_t allChunks = 6;

TEST_F(AnyDepthFrames, BringChunksBehindDepth)
{
    for (const auto *mode : {"UncalibratedC", "CalibratedC", "CalibratedABC_Grid"})
    {
        SCOPED_TRACE(mode);
        Remote().Set("ChunkModeActive", "0");
        const auto expected = ShotIn(mode).parts.at(0);
        EnableChunks();
        Start();
        for (uint64_t frame = 1; frame <= 6; ++frame)
        {
            auto *const buffer = m_camera.Take();
            const auto listed = ListedChunks(buffer);
            EXPECT_EQ(listed.size(), allChunks);
            EXPECT_TRUE(listed == TrailedChunks(buffer));
            const auto &image = listed.at(imageChunk);
            ASSERT_GE(image.size(), expected.bytes.size());
            EXPECT_TRUE(std::equal(expected.bytes.begin(), expected.bytes.end(), image.begin()));
            ASSERT_EQ(listed.at(frameIdChunk).size(), sizeof(uint64_t));
            EXPECT_EQ(internal::ValueAt<uint64_t>(listed.at(frameIdChunk), 0),
                      m_camera.BufferInfo<uint64_t>(buffer, BUFFER_INFO_FRAMEID));
            EXPECT_EQ(m_camera.BufferInfo<uint64_t>(buffer, BUFFER_INFO_PIXELFORMAT), expected.pixelFormat);
            m_camera.Give(buffer);
        }
        Stop();
    }
}

TEST_F(AnyDepthFrames, BringChunksBehindAllParts)
{
    UseAllComponents(m_camera);
    for (const auto *mode : {"CalibratedC", "CalibratedABC_Grid"})
    {
        SCOPED_TRACE(mode);
        Remote().Set("ChunkModeActive", "0");
        const auto expected = ShotIn(mode);
        EnableChunks();
        Start();
        auto *const buffer = m_camera.Take();
        const auto shot = Describe(m_camera, buffer);
        ASSERT_EQ(shot.parts.size(), 3U);
        for (size_t i = 0; i < 3; ++i)
        {
            EXPECT_TRUE(shot.parts[i].bytes == expected.parts.at(i).bytes) << i;
        }
        const auto listed = ListedChunks(buffer);
        EXPECT_EQ(listed.size(), allChunks);
        EXPECT_EQ(listed.at(frameIdChunk).size(), sizeof(uint64_t));
        EXPECT_TRUE(listed == TrailedChunks(buffer));
        Stop();
    }
}

TEST_F(AnyDepthFrames, AreTheSameAfterEachOfManyStarts)
{
    for (const auto *mode : {"CalibratedC", "CalibratedABC_Grid"})
    {
        const auto expected = ShotIn(mode).parts.at(0);
        for (int start = 1; start <= 20; ++start)
        {
            Start();
            for (int frame = 0; frame < 3; ++frame)
            {
                auto *const buffer = m_camera.Take();
                const auto shot = Describe(m_camera, buffer);
                EXPECT_TRUE(shot.parts.at(0).bytes == expected.bytes) << start << ' ' << frame;
                m_camera.Give(buffer);
            }
            Stop();
        }
    }
}

TEST_F(AnyDepthFrames, FollowTheRegionOfEachStart)
{
    for (const int offset : {150, 100, 0, 40})
    {
        Remote().Set("OffsetX", std::to_string(offset));
        const View view{"", 1, 1, 1, 1, 64, 40, offset, 270};
        const auto points = PointsOf(TakeShot(m_camera).parts.at(0));
        ASSERT_EQ(points.size(), 64U * 40U);
        const auto ray = RayOf(PlaceOf(view, 32, 20));
        const auto &middle = points[20 * 64 + 32];
        EXPECT_NEAR(middle.z, OnPlane(ray).z, 0.002 * middle.z);
        EXPECT_NEAR(middle.x, ray.x * middle.z, 0.01);
    }
}

TEST_F(AnyDepthFrames, RefuseAnotherModeUntilTheyEnd)
{
    Start();
    m_camera.Pass(3);
    for (const auto *mode : {"UncalibratedC", "CalibratedC"})
    {
        EXPECT_EQ(FailureOf([&] { Remote().Set("Scan3dOutputMode", mode); }).code, GC_ERR_ACCESS_DENIED);
    }
    EXPECT_EQ(Remote().Get("Scan3dOutputMode"), "CalibratedABC_Grid");
    EXPECT_EQ(Axis(Remote(), "CoordinateC").maximum, 2047.5);
    EXPECT_EQ(Remote().GetInteger("PayloadSize"), 64 * 40 * 12);
    m_camera.Pass(3);
    Stop();
    Remote().Set("Scan3dOutputMode", "CalibratedC");
    EXPECT_EQ(Remote().GetInteger("PayloadSize"), 64 * 40 * 4);
}

} // namespace
} // namespace chain
