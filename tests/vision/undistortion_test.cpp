#include "vision_test.h"

#include "vision/image.h"
#include "vision/undistortion.h"

#include <gmock/gmock.h>

#include <array>
#include <cstring>
#include <memory>
#include <optional>

namespace GenTL::internal
{
namespace
{

using namespace tarn::cvl;
using tarn::common::Metadata;
using tarn::common::PixelFormat;
using tarn::common::Rectangle;
using tarn::common::Size;
using testing::ElementsAre;
using testing::IsEmpty;

CalibrationParameters MakeParameters()
{
    CalibrationParameters parameters{};
    std::memset(&parameters, 0x11, sizeof parameters);
    parameters.width = 16;
    parameters.height = 4;
    parameters.focalLengthX = 100;
    parameters.focalLengthY = 101;
    parameters.principalPointX = 8;
    parameters.principalPointY = 2;
    return parameters;
}

class VisionUndistortion : public VisionTest
{
protected:
    Image MakeImage() { return {PixelFormat::Mono8, {4, 2}, memory.data(), memory.size()}; }

    Metadata MakeMetadata() const
    {
        Metadata metadata;
        metadata.Set("Roi", Rectangle{1, 2, 3, 4});
        return metadata;
    }

    const CalibrationParameters parameters = MakeParameters();
    std::array<uint8_t, 8> memory{1, 2, 3, 4, 5, 6, 7, 8};
};

TEST_F(VisionUndistortion, IsMadeForTheGeometryOfTheMetadata)
{
    const Undistortion undistortion(MakeMetadata(), parameters);
    ASSERT_EQ(vision->undistortions.size(), 1U);
    const auto entries = vision->undistortions.begin()->second.metadata;
    ASSERT_EQ(entries.size(), 4U);
    EXPECT_EQ(entries[3], (scripted::Entry{"UInt", "ROIHeight", "4"}));
    EXPECT_EQ(vision->metadata.size(), 0U);
    EXPECT_EQ(std::memcmp(vision->camera.data(), &parameters, 144), 0);
}

TEST_F(VisionUndistortion, IsMadeWithoutAnyMetadata)
{
    const Undistortion undistortion({}, parameters);
    ASSERT_EQ(vision->undistortions.size(), 1U);
    EXPECT_THAT(vision->undistortions.begin()->second.metadata, IsEmpty());
}

TEST_F(VisionUndistortion, KeepsTheAdjustedCamera)
{
    const Undistortion undistortion({}, parameters);
    const auto &camera = undistortion.GetCamera();
    EXPECT_EQ(camera.width, 16U);
    EXPECT_EQ(camera.height, 4U);
    EXPECT_EQ(camera.focalLengthX, 100.F);
    EXPECT_EQ(camera.focalLengthY, 101.F);
    EXPECT_EQ(camera.principalPointX, 9.F);
    EXPECT_EQ(camera.principalPointY, 3.F);
}

TEST_F(VisionUndistortion, ThatCannotBeMadeLeavesTheOldOneInForce)
{
    auto undistortion = std::make_unique<Undistortion>(MakeMetadata(), parameters);
    const auto *const old = undistortion.get();
    const auto replace = [&] { undistortion = std::make_unique<Undistortion>(MakeMetadata(), parameters); };
    for (const auto *function :
         {"Metadata_Create", "Metadata_SetUInt", "Transform_Undistortion_CreateWithImageMetadata"})
    {
        SCOPED_TRACE(function);
        vision->FailNext(function, TARN_CVL_MATH);
        EXPECT_EQ(VisionFailureOf(replace), Failing<MathErrorException>("vision failed", 9));
        EXPECT_EQ(undistortion.get(), old);
        EXPECT_EQ(vision->LiveObjects(), 1U);
    }
    EXPECT_EQ(vision->CountOf("Transform_Undistortion_Destroy"), 0U);
    undistortion->SetInterpolation(1);
    replace();
    EXPECT_EQ(vision->undistortions.size(), 1U);
    EXPECT_EQ(vision->CountOf("Transform_Undistortion_Destroy"), 1U);
}

TEST_F(VisionUndistortion, TakesAnInterpolation)
{
    Undistortion undistortion({}, parameters);
    for (const int32_t code : {0, 1})
    {
        undistortion.SetInterpolation(code);
        EXPECT_EQ(vision->undistortions.begin()->second.interpolation, code);
    }
    vision->FailNext("Transform_Undistortion_SetInterpolation", TARN_CVL_OUT_OF_RANGE);
    EXPECT_EQ(VisionFailureOf([&] { undistortion.SetInterpolation(2); }),
              Failing<OutOfRangeException>("vision failed", 8));
}

TEST_F(VisionUndistortion, MakesAnImageOfItsOwn)
{
    const Undistortion undistortion({}, parameters);
    const auto source = MakeImage();
    vision->calls.clear();
    const auto undistorted = undistortion.Undistort(source);
    EXPECT_THAT(vision->calls,
                ElementsAre("Image_CreateWithZeroInit", "Image_GetInfo", "Transform_Undistortion_Process",
                            "Image_GetInfo", "Image_IncreaseUseCount", "Image_Destroy"));
    EXPECT_EQ(undistorted.GetSize(), (Size{4, 2}));
    EXPECT_EQ(undistorted.GetPixelFormat(), PixelFormat::Mono8);
    std::array<uint8_t, 8> pixels{};
    std::memcpy(pixels.data(), undistorted.GetData(), pixels.size());
    EXPECT_THAT(pixels, ElementsAre(2, 3, 4, 5, 6, 7, 8, 9));
    EXPECT_THAT(memory, ElementsAre(1, 2, 3, 4, 5, 6, 7, 8));
    EXPECT_EQ(vision->images.size(), 2U);
}

TEST_F(VisionUndistortion, ReadsWhatTheImageBecame)
{
    const Undistortion undistortion({}, parameters);
    const auto source = MakeImage();
    int queries = 0;
    vision->onInfo = [&](tarn_cvl_ImageInfo &info)
    {
        if (++queries == 2)
        {
            info = {0x01100007, 2, 1, 0, 4, memory.data()};
        }
    };
    const auto undistorted = undistortion.Undistort(source);
    EXPECT_EQ(undistorted.GetSize(), (Size{2, 1}));
    EXPECT_EQ(undistorted.GetPixelFormat(), PixelFormat::Mono16);
    EXPECT_EQ(undistorted.GetData(), memory.data());
}

TEST_F(VisionUndistortion, LeavesNothingBehindAFailureOfAnyCall)
{
    const Undistortion undistortion({}, parameters);
    const auto source = MakeImage();
    for (const auto *function : {"Image_CreateWithZeroInit", "Image_GetInfo",
                                 "Transform_Undistortion_Process", "Image_IncreaseUseCount"})
    {
        SCOPED_TRACE(function);
        vision->FailNext(function, TARN_CVL_MISMATCH);
        EXPECT_EQ(VisionFailureOf([&] { undistortion.Undistort(source); }),
                  Failing<MismatchException>("vision failed", 3));
        EXPECT_EQ(vision->LiveObjects(), 2U);
    }
    vision->FailNext("Image_GetInfo", scripted::works);
    vision->FailNext("Image_GetInfo", TARN_CVL_IO);
    EXPECT_EQ(VisionFailureOf([&] { undistortion.Undistort(source); }),
              Failing<IOException>("vision failed", 12));
    EXPECT_EQ(vision->LiveObjects(), 2U);
}

TEST_F(VisionUndistortion, IsOutlivedByItsImages)
{
    auto undistortion = std::make_optional<Undistortion>(Metadata{}, parameters);
    const auto undistorted = undistortion->Undistort(MakeImage());
    undistortion.reset();
    EXPECT_EQ(vision->undistortions.size(), 0U);
    EXPECT_EQ(undistorted.GetCamera().principalPointX, 9.F);
    EXPECT_EQ(*static_cast<const uint8_t *>(undistorted.GetData()), 2);
}

TEST_F(VisionUndistortion, GivesWhatCoordinatesAreMadeOf)
{
    const Undistortion undistortion({}, parameters);
    const auto undistorted = undistortion.Undistort(MakeImage());
    const XYZImage coordinates(undistorted);
    EXPECT_EQ(coordinates.GetPixelFormat(), PixelFormat::Coord3D_ABC32f);
    EXPECT_EQ(coordinates.GetSize(), (Size{4, 2}));
    EXPECT_EQ(coordinates.GetCamera().principalPointY, 3.F);
    EXPECT_EQ(std::memcmp(vision->camera.data(), &undistorted.GetCamera(), 144), 0);
    EXPECT_EQ(*static_cast<const uint8_t *>(coordinates.GetData()), 2);
    const auto count = vision->LiveObjects();
    vision->FailNext("Transform_DepthMap_To_XYZImage", TARN_CVL_MATH);
    EXPECT_EQ(VisionFailureOf([&] { XYZImage other(undistorted); }),
              Failing<MathErrorException>("vision failed", 9));
    EXPECT_EQ(vision->LiveObjects(), count);
}

} // namespace
} // namespace GenTL::internal
