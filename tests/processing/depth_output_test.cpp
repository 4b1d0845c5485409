#include "processing/conversion_processor.h"

#include "support/failure.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

namespace GenTL::internal
{
namespace
{

using tarn::common::PixelFormat;

/// The bytes of a lens without distortion: 8 x 4 pixels, focal lengths 100 and 50, principal point (4, 2).
/// The vision module writes them.
std::vector<uint8_t> LensBytes(void *module)
{
    const auto write = reinterpret_cast<decltype(&tarn_cvl_CalibrationParameters_ToBinary)>(
        dlsym(module, "tarn_cvl_CalibrationParameters_ToBinary"));
    tarn_cvl_CalibrationParameters lens{};
    lens.width = 8;
    lens.height = 4;
    lens.focalLengthX = 100;
    lens.focalLengthY = 50;
    lens.principalPointX = 4;
    lens.principalPointY = 2;
    std::vector<uint8_t> bytes(1024);
    size_t size = bytes.size();
    EXPECT_EQ(write(&lens, sizeof lens, bytes.data(), &size), TARN_CVL_SUCCESS);
    bytes.resize(size);
    return bytes;
}

/// A 3D device over the open vision module. Frames of 4 x 2 pixels show the part of the sensor that begins at
/// (2, 1); depth is raw / 2 + 10.
class DepthOutputTest : public testing::Test
{
protected:
    DepthOutputTest() : module(dlopen(QVR_LIB_DIR "/libqvr_tarn_cvl.so", RTLD_NOW))
    {
        state.scan3d.emplace();
        state.scan3d->scan3dCoordinateScale = 0.5;
        state.scan3d->scan3dCoordinateOffset = 10.0;
        state.scan3d->scan3dAxisMin = 1;
        state.scan3d->scan3dAxisMax = 1000;
        state.geometry.Set("Roi", tarn::common::Rectangle{2, 1, 4, 2});
        processor.SetDevice([this] { return state; });
        input.data = reinterpret_cast<uint8_t *>(source.data());
        input.size = source.size() * sizeof(uint16_t);
        input.payloadType = PAYLOAD_TYPE_IMAGE;
        input.attributes.width = 4;
        input.attributes.height = 2;
        input.attributes.pixelFormat = static_cast<uint64_t>(PixelFormat::Coord3D_C16);
        input.sizeFilled = 16;
    }

    void Start(Scan3dOutputMode mode)
    {
        ASSERT_NE(module, nullptr) << dlerror();
        auto &depth = processor.ConfigureDepth();
        depth.SetMode(mode);
        depth.SetLensCalibrationData(LensBytes(module));
        processor.AcquisitionStarted();
    }

    std::vector<float> FloatsAt(size_t begin, size_t count) const
    {
        std::vector<float> floats(count);
        std::memcpy(floats.data(), output.data() + begin, count * sizeof(float));
        return floats;
    }

    void *module;
    // 0 is below the range and 2000 is above it.
    std::vector<uint16_t> source{100, 0, 300, 400, 500, 600, 2000, 1000, 0x1111, 0x2222};
    std::vector<uint8_t> output = std::vector<uint8_t>(120, 0xCC);
    DeviceState state;
    InputData input;
    ConversionProcessor processor;
};

TEST_F(DepthOutputTest, AddsTheOffsetToTheDepthOfValidPixels)
{
    Start(Scan3dOutputMode::CalibratedC);
    const auto result = processor.Process(input, output);
    EXPECT_EQ(FloatsAt(0, 8), (std::vector<float>{60, 0, 160, 210, 260, 310, 0, 510}));
    EXPECT_EQ(result.bytesWritten, 32U);
    EXPECT_EQ(result.attributes.pixelFormat, static_cast<uint64_t>(PixelFormat::Coord3D_C32f));
}

TEST_F(DepthOutputTest, ComputesCoordinatesFromDepthWithItsOffset)
{
    Start(Scan3dOutputMode::CalibratedABC_Grid);
    EXPECT_EQ(processor.Process(input, output).bytesWritten, 96U);
    const auto numbers = FloatsAt(0, 24);
    for (const size_t pixel : {0U, 2U, 3U, 4U, 5U, 7U})
    {
        const float *point = numbers.data() + 3 * pixel;
        const float depth = static_cast<float>(source[pixel]) / 2 + 10;
        EXPECT_FLOAT_EQ(point[0], (static_cast<float>(pixel % 4) + 2 - 4) * depth / 100) << pixel;
        EXPECT_FLOAT_EQ(point[1], (static_cast<float>(pixel / 4) + 1 - 2) * depth / 50) << pixel;
        EXPECT_EQ(point[2], depth) << pixel;
    }
    EXPECT_TRUE(std::isnan(numbers.at(3)));
}

TEST_F(DepthOutputTest, PutsTheChunksBehindTheDepth)
{
    Start(Scan3dOutputMode::CalibratedC);
    input.sizeFilled = 20;
    input.chunks = ChunkList{.entries = {{0xA, 0, 16}, {0xB, 16, 4}}};
    const auto result = processor.Process(input, output);
    EXPECT_EQ(result.bytesWritten, 36U);
    EXPECT_EQ(output.at(32), 0x11);
    EXPECT_EQ(output.at(35), 0x22);
    EXPECT_EQ(result.chunks.value().entries.at(1).ChunkOffset, 32);
    EXPECT_EQ(FloatsAt(28, 1).front(), 510.F);
}

TEST_F(DepthOutputTest, PassesRawDepthThrough)
{
    Start(Scan3dOutputMode::UncalibratedC);
    EXPECT_EQ(processor.Process(input, output).bytesWritten, 16U);
    EXPECT_EQ(std::memcmp(output.data(), source.data(), 16), 0);
}

TEST_F(DepthOutputTest, TakesLinesThatAreMissingForInvalid)
{
    Start(Scan3dOutputMode::CalibratedC);
    input.isIncomplete = true;
    input.sizeFilled = 14;
    const auto result = processor.Process(input, output);
    EXPECT_EQ(result.bytesWritten, 16U);
    EXPECT_EQ(result.dataSize, 32U);
    EXPECT_EQ(FloatsAt(0, 8), (std::vector<float>{60, 0, 160, 210, 0, 0, 0, 0}));
}

TEST_F(DepthOutputTest, UndistortsIntensityInItsFormat)
{
    Start(Scan3dOutputMode::CalibratedC);
    input.attributes.pixelFormat = static_cast<uint64_t>(PixelFormat::Mono8);
    input.sizeFilled = 8;
    const auto result = processor.Process(input, output);
    EXPECT_EQ(result.bytesWritten, 8U);
    EXPECT_EQ(result.attributes.pixelFormat, static_cast<uint64_t>(PixelFormat::Mono8));
    EXPECT_EQ(std::memcmp(output.data(), source.data(), 8), 0) << "the lens has no distortion";
}

TEST_F(DepthOutputTest, LeavesConfidenceAlone)
{
    Start(Scan3dOutputMode::CalibratedC);
    input.attributes.pixelFormat = static_cast<uint64_t>(PixelFormat::Confidence16);
    EXPECT_EQ(processor.Process(input, output).bytesWritten, 16U);
    EXPECT_EQ(std::memcmp(output.data(), source.data(), 16), 0);
}

TEST_F(DepthOutputTest, ConvertsDepthAndIntensityInParts)
{
    Start(Scan3dOutputMode::CalibratedC);
    input.payloadType = PAYLOAD_TYPE_MULTI_PART;
    input.attributes = {};
    input.parts = {{.base = input.data,
                    .size = 16,
                    .type = PART_DATATYPE_3D_IMAGE,
                    .format = static_cast<uint64_t>(PixelFormat::Coord3D_C16),
                    .width = 4,
                    .height = 2},
                   {.base = input.data,
                    .size = 8,
                    .type = PART_DATATYPE_2D_IMAGE,
                    .format = static_cast<uint64_t>(PixelFormat::Mono8),
                    .width = 4,
                    .height = 2}};
    const auto result = processor.Process(input, output);
    EXPECT_EQ(FloatsAt(0, 8), (std::vector<float>{60, 0, 160, 210, 260, 310, 0, 510}));
    EXPECT_EQ(result.parts.at(0).format, static_cast<uint64_t>(PixelFormat::Coord3D_C32f));
    EXPECT_EQ(result.parts.at(1).base, output.data() + 32);
    EXPECT_EQ(std::memcmp(output.data() + 32, source.data(), 8), 0);
    EXPECT_EQ(result.bytesWritten, 40U);
}

TEST_F(DepthOutputTest, AddsTheLargerDepthToThePayloadSize)
{
    Start(Scan3dOutputMode::CalibratedABC_Grid);
    state.payloadSize = 100;
    state.images = {{.component = Component::Image3D,
                     .code = PixelFormat::Coord3D_C16,
                     .format = tarn::common::wideFormats.Find(PixelFormat::Coord3D_C16),
                     .size = {4, 2}}};
    EXPECT_EQ(processor.PayloadSize(), 180U);
}

TEST_F(DepthOutputTest, FailsCalibratedFramesWithoutACalibration)
{
    processor.ConfigureDepth().SetMode(Scan3dOutputMode::CalibratedC);
    processor.AcquisitionStarted();
    EXPECT_EQ(FailureOf([&] { processor.Process(input, output); }).code, GC_ERR_ERROR);
}

TEST_F(DepthOutputTest, ReadsTheValuesAtEachStart)
{
    Start(Scan3dOutputMode::CalibratedC);
    processor.AcquisitionStopped();
    state.scan3d->scan3dCoordinateOffset = -20.0;
    processor.AcquisitionStarted();
    processor.Process(input, output);
    EXPECT_EQ(FloatsAt(0, 1).front(), 30.F);
}

TEST_F(DepthOutputTest, HasLimitsOfThePresentValues)
{
    Start(Scan3dOutputMode::CalibratedABC_Grid);
    EXPECT_EQ(processor.Depth().AxisRange(Scan3dCoordinate::CoordinateC), (std::pair{10.5, 510.0}));
    EXPECT_EQ(processor.Depth().AxisRange(Scan3dCoordinate::CoordinateA),
              (std::pair{-4 * 510.0 / 100, 3 * 510.0 / 100}));
    state.scan3d->scan3dAxisMax = 100;
    processor.AcquisitionStarted();
    EXPECT_EQ(processor.Depth().AxisRange(Scan3dCoordinate::CoordinateC), (std::pair{10.5, 60.0}));
}

TEST_F(DepthOutputTest, HasTheLimitsOfTheDeviceInARawMode)
{
    Start(Scan3dOutputMode::UncalibratedC);
    EXPECT_EQ(processor.Depth().AxisRange(Scan3dCoordinate::CoordinateC), (std::pair{1.0, 1000.0}));
    EXPECT_EQ(FailureOf([&] { processor.Depth().AxisRange(Scan3dCoordinate::CoordinateA); }),
              (Failure{"No limits of Scan3dCoordinateA in the mode UncalibratedC!", GC_ERR_NOT_AVAILABLE}));
}

TEST_F(DepthOutputTest, DoesNothingForADeviceWithoutScan3dValues)
{
    state.scan3d.reset();
    processor.AcquisitionStarted();
    EXPECT_FALSE(processor.Depth().IsEnabled());
    EXPECT_EQ(processor.Process(input, output).bytesWritten, 16U);
    EXPECT_EQ(FailureOf([&] { processor.Depth().AxisRange(Scan3dCoordinate::CoordinateC); }).code,
              GC_ERR_NOT_AVAILABLE);
}

TEST_F(DepthOutputTest, UnpacksIntensityBeforeItIsUndistorted)
{
    processor.SetConversion(Component::Image2D, PixelFormat::Mono12p, PixelFormat::Mono12);
    Start(Scan3dOutputMode::CalibratedC);
    input.attributes.pixelFormat = static_cast<uint64_t>(PixelFormat::Mono12p);
    input.sizeFilled = 12;
    const std::vector<uint8_t> packed{0x01, 0x20, 0x00, 0x03, 0x40, 0x00, 0x05, 0x60, 0x00, 0x07, 0x80, 0x00};
    std::memcpy(input.data, packed.data(), packed.size());
    EXPECT_EQ(processor.Process(input, output).bytesWritten, 16U);
    std::vector<uint16_t> samples(8);
    std::memcpy(samples.data(), output.data(), 16);
    EXPECT_EQ(samples, (std::vector<uint16_t>{1, 2, 3, 4, 5, 6, 7, 8}));
}

} // namespace
} // namespace GenTL::internal
