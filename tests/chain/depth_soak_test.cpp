// The depth camera sends all its images for a long time: each frame is right, none is lost, and memory does
// not grow.

#include "depth_points.h"
#include "resident_memory.h"
#include "support/sanitizer.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>
#include <vector>

namespace chain
{
namespace
{

using Clock = std::chrono::steady_clock;

constexpr int soakBuffers = 4;

/// The length of the test: a few hundred frames, or the minutes that the environment asks for.
class Duration
{
public:
    bool IsOver(uint64_t frames) const
    {
        return m_minutes > 0 ? Clock::now() >= m_begin + std::chrono::minutes(m_minutes) : frames >= 400;
    }

    bool IsLong() const { return m_minutes > 0; }

    int Minute() const
    {
        return static_cast<int>(
            std::chrono::duration_cast<std::chrono::minutes>(Clock::now() - m_begin).count());
    }

private:
    static int Asked()
    {
        const char *const minutes = std::getenv("QVR_TEST_SOAK_MINUTES");
        return minutes != nullptr ? std::stoi(minutes) : 0;
    }

    int m_minutes = Asked();
    Clock::time_point m_begin = Clock::now();
};

/// The filled bytes of a frame: exactly its parts.
std::vector<uint8_t> BytesOf(Camera &camera, BUFFER_HANDLE buffer)
{
    const auto *const base = camera.BufferInfo<const uint8_t *>(buffer, BUFFER_INFO_BASE);
    return {base, base + camera.BufferInfo<size_t>(buffer, BUFFER_INFO_SIZE_FILLED)};
}

/// The camera sends bursts of as many frames as there are buffers, so that no frame is lost to a slow
/// consumer. Each burst begins with number 1, and frames of the same number have the same noise.
class DepthSoak : public testing::Test
{
protected:
    void SetUp() override
    {
        const auto &remote = m_camera.Remote();
        Use(m_camera, m_view);
        UseAllComponents(m_camera);
        remote.Set("DepthNoise", "1");
        remote.Set("AcquisitionMode", "MultiFrame");
        remote.Set("AcquisitionFrameCount", std::to_string(soakBuffers));
        remote.Set("AcquisitionFrameRate", "0");
        m_camera.AnnounceAndQueue(soakBuffers);
        m_camera.RegisterEvent();
        m_camera.Start();
        for (int i = 0; i < soakBuffers; ++i)
        {
            TakeFirst();
        }
    }

    void TearDown() override { m_camera.Stop(ACQ_STOP_FLAGS_KILL); }

    /// Keeps a frame, to compare later frames of the same number with it.
    void TakeFirst()
    {
        auto *const buffer = m_camera.Take();
        ExpectParts(buffer);
        m_known.push_back(BytesOf(m_camera, buffer));
        ASSERT_EQ(m_camera.BufferInfo<uint64_t>(buffer, BUFFER_INFO_FRAMEID), m_frames + 1);
        m_camera.Give(buffer);
        ++m_frames;
    }

    void ExpectParts(BUFFER_HANDLE buffer)
    {
        const auto shot = Describe(m_camera, buffer);
        ASSERT_EQ(shot.parts.size(), 3U);
        const uint64_t formats[] = {coord3dAbc32f, 0x01080001, 0x010800C6};
        const auto width = static_cast<size_t>(m_view.width);
        const auto height = static_cast<size_t>(m_view.height);
        const size_t pixels = width * height;
        const size_t sizes[] = {12 * pixels, pixels, pixels};
        for (size_t i = 0; i < shot.parts.size(); ++i)
        {
            EXPECT_EQ(shot.parts[i].pixelFormat, formats[i]);
            EXPECT_EQ(shot.parts[i].bytes.size(), sizes[i]);
        }
        // The lower middle shows the plane alone.
        const size_t row = height * 2 / 3;
        const auto point = PointsOf(shot.parts[0]).at(row * width + width / 2);
        const auto known = OnPlane(RayOf(PlaceOf(m_view, width / 2, row)));
        EXPECT_NEAR(point.z, known.z, 6); // six times the noise
    }

    void TakeBurst()
    {
        m_camera.Remote().Execute("AcquisitionStart");
        for (const auto &known : m_known)
        {
            auto *const buffer = m_camera.Take();
            ++m_frames;
            ASSERT_EQ(m_camera.BufferInfo<uint64_t>(buffer, BUFFER_INFO_FRAMEID), m_frames) << "frames lost";
            ASSERT_FALSE(m_camera.BufferInfo<bool8_t>(buffer, BUFFER_INFO_IS_INCOMPLETE)) << m_frames;
            ASSERT_EQ(m_camera.BufferInfo<size_t>(buffer, BUFFER_INFO_SIZE_FILLED), known.size()) << m_frames;
            const auto *const base = m_camera.BufferInfo<const uint8_t *>(buffer, BUFFER_INFO_BASE);
            ASSERT_EQ(std::memcmp(base, known.data(), known.size()), 0) << m_frames;
            m_camera.Give(buffer);
        }
    }

    void Report(const std::string &when)
    {
        std::cout << when << ": " << m_frames << " frames, " << m_camera.StreamInfo(STREAM_INFO_NUM_UNDERRUN)
                  << " lost, " << ResidentMemory() / 1024 << " KiB of memory" << std::endl;
    }

    Duration m_duration;
    const View m_view = m_duration.IsLong() ? View{"Whole"} : View{"Region", 1, 1, 1, 1, 160, 120, 240, 240};
    DepthCamera m_opened{proxyProducer};
    Camera &m_camera{m_opened.camera};
    std::vector<std::vector<uint8_t>> m_known; // frames 1, 2, ...
    uint64_t m_frames = 0;
};

TEST_F(DepthSoak, LosesNoFrameAndKeepsNoMemory)
{
    ASSERT_EQ(m_known.size(), static_cast<size_t>(soakBuffers));
    EXPECT_NE(m_known[0], m_known[1]); // otherwise a frame that comes twice would go unnoticed
    constexpr uint64_t warmUp = 100;
    while (m_frames < warmUp && !HasFatalFailure())
    {
        TakeBurst();
    }
    const auto before = ResidentMemory();
    Report("warm");
    int minute = 0;
    while (!m_duration.IsOver(m_frames) && !HasFatalFailure())
    {
        TakeBurst();
        if (m_duration.Minute() != minute)
        {
            minute = m_duration.Minute();
            Report("minute " + std::to_string(minute));
        }
    }
    Report("end");
    EXPECT_GE(m_frames, 400U);
    EXPECT_EQ(m_camera.StreamInfo(STREAM_INFO_NUM_UNDERRUN), 0U);
    EXPECT_EQ(m_camera.StreamInfo(STREAM_INFO_NUM_DELIVERED), m_frames);
    if (!hasSanitizer)
    {
        EXPECT_LT(ResidentMemory(), before + (1U << 20U));
    }
}

} // namespace
} // namespace chain
