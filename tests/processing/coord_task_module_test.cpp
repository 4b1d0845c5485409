#include "processing/coord_task.h"

#include "common/metadata.h"
#include "depth_frame.h"
#include "vision/calibration_parameters.h"
#include "vision/exceptions.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

namespace GenTL::internal
{
namespace
{

using tarn::common::PixelFormat;

/// Calibration of 8 x 4 pixels with focal lengths 100 and 50, principal point (4, 2) and no distortion.
const std::vector<uint8_t> calibrationBytes{
    'T', 'C', 'A',  'L',  1, 0, 0,    0,    72, 0, 0,    0,    8, 0, 0, 0,    4, 0, 0, 0, //
    0,   0,   0xC8, 0x42, 0, 0, 0x48, 0x42, 0,  0, 0x80, 0x40, 0, 0, 0, 0x40, 0, 0, 0, 0, //
    0,   0,   0,    0,    0, 0, 0,    0,    0,  0, 0,    0,    0, 0, 0, 0,    0, 0, 0, 0, //
    0,   0,   0,    0,    0, 0, 0,    0};

/// The bytes followed by their CRC-32.
std::vector<uint8_t> Sealed(std::vector<uint8_t> bytes)
{
    uint32_t sum = 0xFFFFFFFF;
    for (const auto byte : bytes)
    {
        sum ^= byte;
        for (int bit = 0; bit < 8; ++bit)
        {
            sum = (sum & 1) != 0 ? sum >> 1 ^ 0xEDB88320 : sum >> 1;
        }
    }
    for (int shift = 0; shift < 32; shift += 8)
    {
        bytes.push_back(static_cast<uint8_t>(~sum >> shift));
    }
    return bytes;
}

/// Uses the open vision module, which is found because it is already loaded. Frames of 4 x 2 pixels show the
/// part of the sensor that begins at (2, 1).
class CoordTaskModule : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        ASSERT_NE(dlopen(QVR_LIB_DIR "/libqvr_tarn_cvl.so", RTLD_NOW), nullptr) << dlerror();
    }

    CoordTaskModule()
    {
        const auto bytes = Sealed(calibrationBytes);
        tarn::common::Metadata metadata;
        metadata.Set("Roi", tarn::common::Rectangle{2, 1, 4, 2});
        task.SetCalibration(tarn::cvl::ParseCalibrationParameters(bytes.data(), bytes.size()), metadata);
        Scan3dInfo info;
        info.scan3dCoordinateScale = 0.5;
        info.scan3dAxisMax = 1000;
        info.scan3dAxisMin = 1;
        task.SetScan3dInfo(info);
    }

    std::vector<float> Run(PixelFormat format, Scan3dOutputMode mode, size_t numbers)
    {
        task.SetMode(mode);
        task.SetOutputFormat(Component::Image3D, format);
        std::vector<uint8_t> output(numbers * sizeof(float), 0xEE);
        EXPECT_EQ(task.Process(input, output).bytesWritten, output.size());
        std::vector<float> result(numbers);
        std::memcpy(result.data(), output.data(), output.size());
        return result;
    }

    // 0 is below the range and 2000 is above it.
    std::vector<uint16_t> source{100, 0, 300, 400, 500, 600, 2000, 1000};
    InputData input = DepthFrame(source);
    CoordTask task;
};

TEST_F(CoordTaskModule, MakesDepthOfTheValidPixels)
{
    EXPECT_EQ(Run(PixelFormat::Coord3D_C32f, Scan3dOutputMode::CalibratedC, 8),
              (std::vector<float>{50, 0, 150, 200, 250, 300, 0, 500}));
}

TEST_F(CoordTaskModule, MakesCoordinatesOfTheValidPixels)
{
    const auto numbers = Run(PixelFormat::Coord3D_ABC32f, Scan3dOutputMode::CalibratedABC_Grid, 24);
    for (size_t pixel = 0; pixel < source.size(); ++pixel)
    {
        const float *point = numbers.data() + 3 * pixel;
        if (pixel == 1 || pixel == 6)
        {
            EXPECT_TRUE(std::isnan(point[0]) && std::isnan(point[1])) << pixel;
            EXPECT_EQ(point[2], 0.F) << pixel;
            continue;
        }
        const float depth = static_cast<float>(source[pixel]) / 2;
        EXPECT_EQ(point[0], (static_cast<float>(pixel % 4) + 2 - 4) * depth / 100) << pixel;
        EXPECT_EQ(point[1], (static_cast<float>(pixel / 4) + 1 - 2) * depth / 50) << pixel;
        EXPECT_EQ(point[2], depth) << pixel;
    }
}

TEST_F(CoordTaskModule, UndistortsIntensity)
{
    input.attributes.pixelFormat = static_cast<uint64_t>(PixelFormat::Mono8);
    task.SetMode(Scan3dOutputMode::CalibratedC);
    task.SetOutputFormat(Component::Image2D, PixelFormat::Mono8);
    std::vector<uint8_t> output(8, 0xEE);
    EXPECT_EQ(task.Process(input, output).bytesWritten, output.size());
    EXPECT_EQ(std::memcmp(output.data(), source.data(), output.size()), 0);
}

TEST_F(CoordTaskModule, TakesNoCalibrationWithAChangedByte)
{
    auto bytes = Sealed(calibrationBytes);
    bytes[30] ^= 1;
    try
    {
        tarn::cvl::ParseCalibrationParameters(bytes.data(), bytes.size());
        FAIL() << "taken";
    }
    catch (const tarn::cvl::CorruptedException &exception)
    {
        EXPECT_STREQ(exception.what(), "The given binary data is invalid");
    }
}

} // namespace
} // namespace GenTL::internal
