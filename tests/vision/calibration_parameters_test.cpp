#include "vision_test.h"

#include "vision/calibration_parameters.h"

#include <gmock/gmock.h>

#include <array>
#include <cstring>

namespace GenTL::internal
{
namespace
{

using namespace tarn::cvl;
using testing::ElementsAre;

constexpr std::array<uint8_t, 3> stored{1, 2, 3};

using VisionCalibration = VisionTest;

TEST_F(VisionCalibration, IsReadIntoAZeroedRecord)
{
    const auto parameters = ParseCalibrationParameters(stored.data(), stored.size());
    EXPECT_THAT(vision->calls, ElementsAre("ValidateBinary", "CalibrationParameters_CreateFromBinary"));
    EXPECT_THAT(vision->calibration, ElementsAre(1, 2, 3));
    EXPECT_TRUE(vision->wasRecordZero);
    EXPECT_EQ(parameters->width, 16U);
    EXPECT_EQ(parameters->height, 4U);
    EXPECT_EQ(parameters->focalLengthX, 100.F);
    EXPECT_EQ(parameters->focalLengthY, 101.F);
    EXPECT_EQ(parameters->principalPointX, 8.F);
    EXPECT_EQ(parameters->principalPointY, 2.F);
}

TEST_F(VisionCalibration, IsRefusedWhenTheLibraryFindsItInvalid)
{
    vision->acceptsCalibration = false;
    EXPECT_EQ(VisionFailureOf([] { ParseCalibrationParameters(stored.data(), stored.size()); }),
              Failing<CorruptedException>("The given binary data is invalid", 11));
    EXPECT_THAT(vision->calls, ElementsAre("ValidateBinary"));
}

TEST_F(VisionCalibration, IsNotReadWhenItCannotBeValidated)
{
    vision->FailNext("ValidateBinary", TARN_CVL_NULL_POINTER);
    EXPECT_EQ(VisionFailureOf([] { ParseCalibrationParameters(nullptr, 0); }),
              Failing<NullPointerException>("vision failed", 6));
    EXPECT_EQ(vision->CountOf("CalibrationParameters_CreateFromBinary"), 0U);
}

TEST_F(VisionCalibration, FailsAsTheReadingFails)
{
    vision->FailNext("CalibrationParameters_CreateFromBinary", TARN_CVL_IO);
    EXPECT_EQ(VisionFailureOf([] { ParseCalibrationParameters(stored.data(), stored.size()); }),
              Failing<IOException>("vision failed", 12));
}

TEST(VisionCamera, IsTheBeginningOfTheRecord)
{
    CameraParameters camera{16, 4, {}, 100, 101, 8, 2};
    std::array<uint8_t, 144> record{};
    std::memcpy(record.data(), &camera, sizeof camera);
    const auto floatAt = [&](size_t offset)
    {
        float value = 0;
        std::memcpy(&value, record.data() + offset, sizeof value);
        return value;
    };
    EXPECT_EQ(record[0], 16);
    EXPECT_EQ(record[4], 4);
    EXPECT_EQ(floatAt(128), 100.F);
    EXPECT_EQ(floatAt(132), 101.F);
    EXPECT_EQ(floatAt(136), 8.F);
    EXPECT_EQ(floatAt(140), 2.F);
    EXPECT_EQ(static_cast<const void *>(AsLibraryParameters(camera)), static_cast<const void *>(&camera));
}

} // namespace
} // namespace GenTL::internal
