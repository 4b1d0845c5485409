// Noise of the depth camera's images: none by default; on request, with the given deviation.

#include "support/simulator/depth_camera.h"

#include <ostream>

namespace simulator_test
{
namespace
{

/// A component and its pixel format, the feature of its noise, and the noise that makes one step of the
/// value.
struct NoisyImage
{
    const char *component;
    const char *format;
    size_t bytesPerPixel;
    const char *feature;
    double unit;
};

void PrintTo(const NoisyImage &image, std::ostream *stream)
{
    *stream << image.component << ' ' << image.format;
}

class SimulatorDepthNoise : public DepthCameraTest, public ::testing::WithParamInterface<NoisyImage>
{
protected:
    void SetUp() override
    {
        DepthCameraTest::SetUp();
        const std::string wanted = GetParam().component;
        for (const std::string &component : {wanted, std::string("Range"), std::string("Intensity")})
        {
            ASSERT_OK(m_camera->SetEntry("ComponentSelector", component));
            ASSERT_OK(m_camera->Set("ComponentEnable", component == wanted ? 1 : 0));
        }
        ASSERT_OK(m_camera->SetEntry("ComponentSelector", GetParam().component));
        ASSERT_OK(m_camera->SetEntry("PixelFormat", GetParam().format));
    }

    /// The first frames of an acquisition.
    std::vector<std::vector<unsigned>> Grab(size_t count)
    {
        std::vector<std::vector<unsigned>> frames;
        AnnounceBuffers(4);
        Start();
        while (frames.size() < count)
        {
            const BUFFER_HANDLE buffer = Receive().handle;
            const std::vector<uint8_t> bytes = Content(buffer);
            std::vector<unsigned> values;
            for (size_t i = 0; i < bytes.size(); i += GetParam().bytesPerPixel)
            {
                values.push_back(bytes[i] + (GetParam().bytesPerPixel == 2 ? 256U * bytes[i + 1] : 0U));
            }
            frames.push_back(std::move(values));
            EXPECT_OK(Tl().DSQueueBuffer(m_stream, buffer));
        }
        StopAndRevoke();
        return frames;
    }
};

struct Statistics
{
    double mean;
    double deviation;
};

/// Statistics of the noise, from pixels whose value is so large that noise does not reach the invalid value.
Statistics Compare(const std::vector<unsigned> &still, const std::vector<unsigned> &noisy)
{
    double sum = 0;
    double squares = 0;
    size_t count = 0;
    for (size_t i = 0; i < still.size(); ++i)
    {
        if (still[i] >= 60)
        {
            const double error = static_cast<double>(noisy[i]) - still[i];
            sum += error;
            squares += error * error;
            ++count;
        }
    }
    EXPECT_GT(count, 100000U);
    const double mean = sum / static_cast<double>(count);
    return {mean, std::sqrt(squares / static_cast<double>(count) - mean * mean)};
}

TEST_P(SimulatorDepthNoise, HasMeanZeroAndTheSetDeviation)
{
    const std::vector<unsigned> still = Grab(1).front();
    for (const double deviation : {2.0, 4.0}) // steps of the value; more noise would reach the end of 8 bits
    {
        ASSERT_OK(m_camera->SetFloat(GetParam().feature, static_cast<float>(deviation * GetParam().unit)));
        const Statistics statistics = Compare(still, Grab(1).front());
        EXPECT_NEAR(0.0, statistics.mean, 0.1);
        // Two roundings of a value add at most a twelfth each to the square of the deviation.
        EXPECT_NEAR(deviation, statistics.deviation, 0.05);
    }
    ASSERT_OK(m_camera->SetFloat(GetParam().feature, 0.0F));
    EXPECT_EQ(still, Grab(1).front());
}

TEST_P(SimulatorDepthNoise, DependsOnTheFrameNumberAlone)
{
    ASSERT_OK(m_camera->SetFloat(GetParam().feature, static_cast<float>(5.0 * GetParam().unit)));
    const std::vector<std::vector<unsigned>> frames = Grab(3);
    EXPECT_NE(frames[0], frames[1]);
    EXPECT_NE(frames[1], frames[2]);
    EXPECT_NE(frames[0], frames[2]);
    EXPECT_EQ(frames, Grab(3));
}

TEST_P(SimulatorDepthNoise, IsOffByDefault)
{
    EXPECT_EQ(0.0F, m_camera->GetFloat(GetParam().feature));
    const std::vector<std::vector<unsigned>> frames = Grab(2);
    EXPECT_EQ(frames[0], frames[1]);
}

TEST_P(SimulatorDepthNoise, KeepsInvalidPixelsAndTheRange)
{
    const std::vector<unsigned> still = Grab(1).front();
    ASSERT_OK(m_camera->SetFloat(GetParam().feature, static_cast<float>(5.0 * GetParam().unit)));
    const std::vector<unsigned> noisy = Grab(1).front();
    const bool isRange = std::string("Range") == GetParam().component;
    size_t invalid = 0;
    for (size_t i = 0; i < still.size(); ++i)
    {
        if (isRange && still[i] == 0)
        {
            ASSERT_EQ(0U, noisy[i]) << i;
            ++invalid;
        }
        ASSERT_LT(noisy[i], still[i] + 60) << i; // no value wraps from 0 to the largest
    }
    EXPECT_EQ(isRange, invalid > 10000);
}

TEST_P(SimulatorDepthNoise, RefusesNegativeValues)
{
    EXPECT_CODE(GC_ERR_INVALID_VALUE, m_camera->SetFloat(GetParam().feature, -1.0F));
}

INSTANTIATE_TEST_SUITE_P(Images, SimulatorDepthNoise,
                         ::testing::Values(NoisyImage{"Range", "Coord3D_C16", 2, "DepthNoise", 0.5},
                                           NoisyImage{"Range", "Coord3D_C8", 1, "DepthNoise", 8.0},
                                           NoisyImage{"Intensity", "Mono8", 1, "IntensityNoise", 1.0}),
                         [](const auto &image) { return std::string(image.param.format); });

} // namespace
} // namespace simulator_test
