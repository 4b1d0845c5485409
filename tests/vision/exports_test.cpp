#include "vision_module.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>
#include <vector>

namespace GenTL::internal
{

namespace
{

const std::vector<std::string> others{
#define CVL_CALLED(name)
#define CVL_OTHER(name) #name,
#include "vision/functions.inc"
#undef CVL_CALLED
#undef CVL_OTHER
};

std::vector<std::string> Listed()
{
    std::vector<std::string> names{
#define CVL_CALLED(name) "tarn_cvl_" #name,
#define CVL_OTHER(name) "tarn_cvl_" #name,
#include "vision/functions.inc"
#undef CVL_CALLED
#undef CVL_OTHER
    };
    std::ranges::sort(names);
    return names;
}

std::vector<std::string> Exported()
{
    const auto command = std::string("nm -D --defined-only --format=just-symbols ") + VisionModule::path;
    const std::unique_ptr<FILE, int (*)(FILE *)> output(popen(command.c_str(), "r"), pclose);
    std::vector<std::string> names;
    std::array<char, 256> line{};
    while (std::fgets(line.data(), line.size(), output.get()) != nullptr)
    {
        const std::string name(line.data());
        names.push_back(name.substr(0, name.find('\n')));
    }
    std::ranges::sort(names);
    return names;
}

Answered NotOffered(const std::string &name)
{
    return {TARN_CVL_NOT_SUPPORTED, "This vision module does not offer the function tarn_cvl_" + name};
}

} // namespace

class VisionExports : public VisionTest
{
};

TEST_F(VisionExports, AreJustTheFunctionsOfTheList)
{
    EXPECT_EQ(Listed().size(), 302U);
    EXPECT_EQ(Exported(), Listed());
}

TEST_F(VisionExports, SayWhichFunctionIsNotOffered)
{
    ASSERT_EQ(others.size(), 266U);
    for (const auto &name : others)
    {
        EXPECT_EQ(AnswerOf(vision.CallOther(name)), NotOffered(name));
    }
}

TEST_F(VisionExports, DoNotOfferUndistortionCoordinatesAndCalibrationData)
{
    tarn_cvl_CalibrationParameters parameters{};
    void *handle = nullptr;
    uint8_t isValid = 1;
    const uint8_t byte = 0;
    EXPECT_EQ(AnswerOf(vision.Transform_Undistortion_CreateWithImageMetadata(
                  &handle, nullptr, &parameters, TARN_CVL_CAMERA_SIZE, &parameters)),
              NotOffered("Transform_Undistortion_CreateWithImageMetadata"));
    EXPECT_EQ(handle, nullptr);
    EXPECT_EQ(AnswerOf(vision.Transform_Undistortion_SetInterpolation(nullptr, 0)),
              NotOffered("Transform_Undistortion_SetInterpolation"));
    EXPECT_EQ(AnswerOf(vision.Transform_Undistortion_Process(nullptr, nullptr, nullptr)),
              NotOffered("Transform_Undistortion_Process"));
    EXPECT_EQ(AnswerOf(vision.Transform_Undistortion_Destroy(nullptr)),
              NotOffered("Transform_Undistortion_Destroy"));
    EXPECT_EQ(
        AnswerOf(vision.Transform_DepthMap_To_XYZImage(nullptr, &parameters, TARN_CVL_CAMERA_SIZE, nullptr)),
        NotOffered("Transform_DepthMap_To_XYZImage"));
    EXPECT_EQ(AnswerOf(vision.ValidateBinary(&byte, 1, &isValid)), NotOffered("ValidateBinary"));
    EXPECT_EQ(
        AnswerOf(vision.CalibrationParameters_CreateFromBinary(&byte, 1, &parameters, sizeof parameters)),
        NotOffered("CalibrationParameters_CreateFromBinary"));
}

TEST_F(VisionExports, TakeOneExitTooManyForNoFailure)
{
    EXPECT_EQ(vision.Exit(), TARN_CVL_SUCCESS);
    EXPECT_EQ(vision.Init(), TARN_CVL_SUCCESS);
    EXPECT_EQ(vision.Init(), TARN_CVL_SUCCESS);
    for (int i = 0; i < 3; ++i)
    {
        EXPECT_EQ(vision.Exit(), TARN_CVL_SUCCESS);
    }
    EXPECT_EQ(vision.Init(), TARN_CVL_SUCCESS);
    EXPECT_EQ(vision.Exit(), TARN_CVL_SUCCESS);
}

} // namespace GenTL::internal
