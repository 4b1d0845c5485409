// What the depth camera's user sets hold, and what its values of depth are in each pixel format.

#include "support/simulator/depth_camera.h"

#include <map>

namespace simulator_test
{
namespace
{

class SimulatorUserSet : public DepthCameraTest
{
protected:
    void Load(const char *set)
    {
        ASSERT_OK(m_camera->SetEntry("UserSetSelector", set));
        ASSERT_OK(m_camera->Set("UserSetLoad", 1));
    }

    void Save(const char *set)
    {
        ASSERT_OK(m_camera->SetEntry("UserSetSelector", set));
        ASSERT_OK(m_camera->Set("UserSetSave", 1));
    }

    void Reopen()
    {
        ASSERT_OK(Tl().IFClose(m_interface));
        OpenCamera("SIM-GIGE-1", "SIM-SIM0007");
    }

    void ExpectScale(double scale, int64_t axisMin, int64_t axisMax) const
    {
        EXPECT_EQ(static_cast<float>(scale), m_camera->GetFloat("Scan3dCoordinateScale"));
        EXPECT_EQ(axisMin * 1000, m_camera->Get("Scan3dAxisMinReg"));
        EXPECT_EQ(axisMax * 1000, m_camera->Get("Scan3dAxisMaxReg"));
    }

    /// Values of the features that a user set covers; of a selected feature, the value for each selector.
    std::map<std::string, double> State() const
    {
        std::map<std::string, double> state;
        for (const char *const name :
             {"Width", "Height", "OffsetX", "OffsetY", "BinningHorizontal", "BinningVertical",
              "DecimationHorizontal", "DecimationVertical", "TestPattern", "AcquisitionMode",
              "AcquisitionFrameCount", "ChunkModeActive", "FrameCheck", "PayloadSize"})
        {
            state[name] = static_cast<double>(m_camera->Get(name));
        }
        for (const char *const name : {"AcquisitionFrameRate", "ExposureTime", "Gain", "DepthNoise",
                                       "IntensityNoise", "Scan3dCoordinateScale", "Scan3dInvalidDataValue"})
        {
            state[name] = static_cast<double>(m_camera->GetFloat(name));
        }
        for (const char *const component : {"Intensity", "Confidence", "Range"})
        {
            EXPECT_OK(m_camera->SetEntry("ComponentSelector", component));
            state[std::string("ComponentEnable") + component] =
                static_cast<double>(m_camera->Get("ComponentEnable"));
            state[std::string("PixelFormat") + component] = static_cast<double>(m_camera->Get("PixelFormat"));
        }
        for (const char *const chunk : {"FrameID", "Gain"})
        {
            EXPECT_OK(m_camera->SetEntry("ChunkSelector", chunk));
            state[std::string("ChunkEnable") + chunk] = static_cast<double>(m_camera->Get("ChunkEnable"));
        }
        return state;
    }

    /// Changes every feature of State.
    void ChangeAll()
    {
        ASSERT_OK(m_camera->Set("BinningHorizontal", 2));
        ASSERT_OK(m_camera->Set("BinningVertical", 2));
        ASSERT_OK(m_camera->Set("DecimationHorizontal", 2));
        ASSERT_OK(m_camera->Set("DecimationVertical", 2));
        SetRegion(100, 60, 20, 10);
        ASSERT_OK(m_camera->SetEntry("TestPattern", "White"));
        ASSERT_OK(m_camera->SetEntry("AcquisitionMode", "MultiFrame"));
        ASSERT_OK(m_camera->Set("AcquisitionFrameCount", 7));
        ASSERT_OK(m_camera->Set("FrameCheck", 1));
        ASSERT_OK(m_camera->SetFloat("AcquisitionFrameRate", 12.5F));
        ASSERT_OK(m_camera->SetFloat("ExposureTime", 5000.0F));
        ASSERT_OK(m_camera->SetFloat("Gain", 3.0F));
        ASSERT_OK(m_camera->SetFloat("DepthNoise", 2.0F));
        ASSERT_OK(m_camera->SetFloat("IntensityNoise", 3.0F));
        ASSERT_OK(m_camera->Set("ChunkModeActive", 1));
        for (const char *const chunk : {"FrameID", "Gain"})
        {
            ASSERT_OK(m_camera->SetEntry("ChunkSelector", chunk));
            ASSERT_OK(m_camera->Set("ChunkEnable", 1));
        }
        ASSERT_OK(m_camera->SetEntry("ComponentSelector", "Range"));
        ASSERT_OK(m_camera->SetEntry("PixelFormat", "Coord3D_C8"));
        for (const char *const component : {"Intensity", "Confidence"})
        {
            ASSERT_OK(m_camera->SetEntry("ComponentSelector", component));
            ASSERT_OK(m_camera->Set("ComponentEnable", 1));
        }
    }
};

TEST_F(SimulatorUserSet, ChangesTheValuesOfDepth)
{
    const Direction direction = DirectionAt(320, 20);
    const size_t pixel = 20 * sensorWidth + 320;
    Load("UserSet0");
    EXPECT_EQ(0.125F, m_camera->GetFloat("Scan3dCoordinateScale"));
    EXPECT_EQ(16383000, m_camera->Get("Scan3dAxisMaxReg"));
    EXPECT_NEAR(PlaneDepth(direction) / 0.125, GrabRange()[pixel], 0.501);
    Load("UserSet2");
    EXPECT_EQ(200000, m_camera->Get("Scan3dCoordinateOffsetReg"));
    EXPECT_EQ(2000, m_camera->Get("Scan3dAxisMinReg"));
    EXPECT_EQ(1.0F, m_camera->GetFloat("Scan3dInvalidDataValue"));
    const std::vector<unsigned> shifted = GrabRange();
    EXPECT_NEAR((PlaneDepth(direction) - 200) / 0.5, shifted[pixel], 0.501);
    const Direction inBand = PlaceOf({0.0, 360.0 / 1536.0});
    EXPECT_EQ(1U, shifted[static_cast<size_t>(inBand.y) * sensorWidth + 320]);
    Load("Default");
    EXPECT_EQ(0.5F, m_camera->GetFloat("Scan3dCoordinateScale"));
    EXPECT_NEAR(PlaneDepth(direction) / 0.5, GrabRange()[pixel], 0.501);
}

TEST_F(SimulatorUserSet, LoadsTheFactoryValuesOfAllFeatures)
{
    const std::map<std::string, double> factory = State();
    ChangeAll();
    for (const auto &[name, value] : State())
    {
        const bool isTheOnlyOne = name == "PixelFormatIntensity" || name == "PixelFormatConfidence" ||
                                  name == "ComponentEnableRange" || name == "Scan3dInvalidDataValue";
        EXPECT_EQ(isTheOnlyOne, factory.at(name) == value) << name;
    }
    Load("Default");
    EXPECT_EQ(factory, State());
    ChangeAll();
    Load("UserSet0");
    std::map<std::string, double> finer = factory;
    finer["Scan3dCoordinateScale"] = 0.125;
    EXPECT_EQ(finer, State());
}

TEST_F(SimulatorUserSet, KeepsSavedValuesUntilCloseLib)
{
    const std::map<std::string, double> factory = State();
    Load("UserSet1");
    ChangeAll();
    const std::map<std::string, double> changed = State();
    Save("UserSet2");
    Load("Default");
    EXPECT_EQ(factory, State());
    Load("UserSet2");
    EXPECT_EQ(changed, State());
    Reopen();
    EXPECT_EQ(factory, State());
    Load("UserSet2");
    EXPECT_EQ(changed, State());
    ASSERT_OK(Tl().GCCloseLib());
    LibraryTest::SetUp();
    OpenCamera("SIM-GIGE-1", "SIM-SIM0007");
    Load("UserSet2");
    EXPECT_EQ(200000, m_camera->Get("Scan3dCoordinateOffsetReg"));
}

TEST_F(SimulatorUserSet, KeepsSelectorsAndUserName)
{
    ASSERT_OK(m_camera->SetText("DeviceUserID", "mine"));
    ASSERT_OK(m_camera->SetEntry("ComponentSelector", "Confidence"));
    const int64_t selected = m_camera->Get("ComponentSelector");
    Load("Default");
    EXPECT_EQ("mine", m_camera->GetText("DeviceUserID"));
    EXPECT_EQ(selected, m_camera->Get("ComponentSelector"));
}

TEST_F(SimulatorUserSet, IsLockedWithTheImageLayout)
{
    ASSERT_OK(m_camera->SetEntry("UserSetSelector", "UserSet0"));
    ASSERT_OK(m_camera->Set("TLParamsLocked", 1));
    EXPECT_CODE(GC_ERR_ACCESS_DENIED, m_camera->Set("UserSetLoad", 1));
    EXPECT_CODE(GC_ERR_ACCESS_DENIED, m_camera->Set("UserSetSave", 1));
    ASSERT_OK(m_camera->Set("TLParamsLocked", 0));
    ASSERT_OK(m_camera->SetEntry("UserSetSelector", "Default"));
    EXPECT_CODE(GC_ERR_ACCESS_DENIED, m_camera->Set("UserSetSave", 1));
}

TEST_F(SimulatorUserSet, InvalidatesTheCoveredFeatures)
{
    for (const char *const name : {"ExposureTimeReg", "GainReg", "BinningHorizontalReg", "PixelFormatReg"})
    {
        EXPECT_TRUE(m_camera->Node(name).find_child(
            [](const pugi::xml_node &child)
            {
                return std::string("pInvalidator") == child.name() &&
                       std::string("UserSetLoadReg") == child.text().get();
            }))
            << name;
    }
}

TEST_F(SimulatorUserSet, CoversTheSameDepthInEightBits)
{
    struct Expected
    {
        const char *set;
        double scale;
        double offset;
        int64_t axisMin;
        int64_t axisMax;
        unsigned invalid;
    };
    for (const Expected &expected :
         {Expected{"Default", 8, 0, 1, 255, 0}, Expected{"UserSet0", 8, 0, 1, 255, 0},
          Expected{"UserSet1", 8, 0, 1, 255, 0}, Expected{"UserSet2", 8, 200, 2, 250, 1}})
    {
        SCOPED_TRACE(expected.set);
        Load(expected.set);
        ASSERT_OK(m_camera->SetEntry("PixelFormat", "Coord3D_C8"));
        ExpectScale(expected.scale, expected.axisMin, expected.axisMax);
        const std::vector<unsigned> values = GrabRange(1);
        for (size_t i = 0; i < 300 * sensorWidth; i += 13)
        {
            const Direction direction =
                DirectionAt(static_cast<double>(i % sensorWidth), static_cast<double>(i / sensorWidth));
            if (i % sensorWidth < 380)
            {
                const double depth = SphereDepth(direction).value_or(PlaneDepth(direction));
                ASSERT_NEAR((depth - expected.offset) / expected.scale, values[i], 0.501) << i;
            }
        }
        const Direction inBand = PlaceOf({0.0, 360.0 / 1536.0});
        EXPECT_EQ(expected.invalid, values[static_cast<size_t>(inBand.y) * sensorWidth + 320]);
    }
}

TEST_F(SimulatorUserSet, RestoresItsScaleInSixteenBits)
{
    ASSERT_OK(m_camera->SetEntry("PixelFormat", "Coord3D_C8"));
    EXPECT_EQ(static_cast<int64_t>(sensorWidth * 480), m_camera->Get("PayloadSize"));
    ExpectScale(8, 1, 255);
    ASSERT_OK(m_camera->SetEntry("PixelFormat", "Coord3D_C16"));
    ExpectScale(0.5, 1, 4095);
    EXPECT_NEAR(PlaneDepth(DirectionAt(320, 20)) / 0.5, GrabRange()[20 * sensorWidth + 320], 0.501);
}

} // namespace
} // namespace simulator_test
