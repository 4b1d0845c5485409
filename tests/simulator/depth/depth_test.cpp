// The depth camera's range image, and what its Scan3d features say about it.

#include "support/simulator/depth_camera.h"

namespace simulator_test
{
namespace
{

using SimulatorDepth = DepthCameraTest;

TEST_F(SimulatorDepth, HasScan3dFeaturesInEveryForm)
{
    EXPECT_EQ(0.5F, m_camera->GetFloat("Scan3dCoordinateScale"));
    EXPECT_EQ(0.0F, m_camera->GetFloat("Scan3dInvalidDataValue"));
    EXPECT_EQ(1, m_camera->Get("Scan3dInvalidDataFlag"));
    EXPECT_EQ(0, m_camera->Get("Scan3dCoordinateOffsetReg"));
    EXPECT_EQ(1000, m_camera->Get("Scan3dAxisMinReg"));
    EXPECT_EQ(4095000, m_camera->Get("Scan3dAxisMaxReg"));
    EXPECT_EQ(1000, m_camera->Get("Scan3dAxisDivisor"));
    EXPECT_STREQ("FloatReg", m_camera->Node("Scan3dCoordinateScaleReg").name());
    for (const char *const name : {"Scan3dCoordinateOffset", "Scan3dAxisMin", "Scan3dAxisMax"})
    {
        EXPECT_STREQ("Float", m_camera->Node(name).name());
        const pugi::xml_node converter = m_camera->Node(m_camera->Node(name).child("pValue").text().get());
        EXPECT_STREQ("Converter", converter.name()) << name;
        EXPECT_STREQ("TO / DIVISOR", converter.child("FormulaFrom").text().get()) << name;
        EXPECT_EQ(std::string(name) + "Reg", converter.child("pValue").text().get());
    }
    EXPECT_STREQ("1000", m_camera->Node("Scan3dAxisMinConverter").child("Constant").text().get());
    const pugi::xml_node scale = m_camera->Node("Scan3dCoordinateScale");
    EXPECT_EQ(0.125F, m_camera->GetFloat(scale.child("pMin").text().get()));
    const pugi::xml_node largest = m_camera->Node(scale.child("pMax").text().get());
    EXPECT_STREQ("SwissKnife", largest.name());
    EXPECT_EQ(8.0F, m_camera->GetFloat(largest.child("pVariable").text().get()));
    EXPECT_STREQ("Scan3dAxisDivisor",
                 m_camera->Node("Scan3dAxisMaxConverter").child("pVariable").text().get());
}

TEST_F(SimulatorDepth, OffersUncalibratedDepthOnly)
{
    EXPECT_OK(m_camera->SetEntry("Scan3dOutputMode", "UncalibratedC"));
    for (const char *const mode : {"CalibratedC", "CalibratedABC_Grid", "RectifiedC"})
    {
        EXPECT_CODE(GC_ERR_INVALID_VALUE, m_camera->SetEntry("Scan3dOutputMode", mode)) << mode;
    }
    EXPECT_EQ(1, m_camera->Get("Scan3dOutputModeImplementedReg"));
    EXPECT_EQ(2, m_camera->Get("Scan3dCoordinateSelector"));
    EXPECT_EQ(4, m_camera->Get("Scan3dCoordinateSelectorImplementedReg"));
    EXPECT_CODE(GC_ERR_INVALID_VALUE, m_camera->SetEntry("Scan3dCoordinateSelector", "CoordinateA"));
    for (const char *const format : {"Coord3D_C32f", "Coord3D_ABC32f"})
    {
        EXPECT_CODE(GC_ERR_INVALID_VALUE, m_camera->SetEntry("PixelFormat", format)) << format;
    }
}

TEST_F(SimulatorDepth, ShowsPlaneAndSphereThroughTheLens)
{
    const std::vector<unsigned> values = GrabRange();
    ASSERT_EQ(sensorWidth * sensorHeight, values.size());
    size_t ofPlane = 0;
    size_t ofSphere = 0;
    for (size_t i = 0; i < values.size(); i += 7)
    {
        const double column = static_cast<double>(i % sensorWidth);
        const double row = static_cast<double>(i / sensorWidth);
        const Direction direction = DirectionAt(column, row);
        if (const auto depth = SphereDepth(direction))
        {
            ++ofSphere;
            ASSERT_NEAR(*depth / 0.5, values[i], 0.501) << column << ", " << row;
        }
        else if (column < 380 && row < 330)
        {
            ++ofPlane;
            ASSERT_NEAR(PlaneDepth(direction) / 0.5, values[i], 0.501) << column << ", " << row;
        }
    }
    EXPECT_GT(ofSphere, 2000U);
    EXPECT_GT(ofPlane, 10000U);
}

TEST_F(SimulatorDepth, HasAStepAtTheEdgesOfThePlate)
{
    const std::vector<unsigned> values = GrabRange();
    const Direction edge = PlaceOf({0.15, 0.0});
    const size_t row = 238 * sensorWidth;
    ASSERT_NEAR(238.5, edge.y, 0.5);
    const auto first = static_cast<size_t>(std::ceil(edge.x));
    EXPECT_EQ(2000U, values[row + first]);
    EXPECT_EQ(2000U, values[row + first + 10]);
    EXPECT_GT(values[row + first - 1], 3000U);
}

TEST_F(SimulatorDepth, HasABandWithoutDepth)
{
    const std::vector<unsigned> values = GrabRange();
    const auto valueAt = [&](double y)
    {
        const double z = 1500 + 0.10 * y; // on the plane at x = 0
        const Direction place = PlaceOf({0.0, y / z});
        return values[static_cast<size_t>(std::lround(place.y)) * sensorWidth +
                      static_cast<size_t>(std::lround(place.x))];
    };
    EXPECT_GT(valueAt(325), 3000U);
    EXPECT_EQ(0U, valueAt(335));
    EXPECT_EQ(0U, valueAt(395));
    EXPECT_GT(valueAt(405), 3000U);
}

/// With binning, decimation or both.
class SimulatorDepthReduced : public DepthCameraTest,
                              public ::testing::WithParamInterface<std::pair<unsigned, unsigned>>
{
};

TEST_P(SimulatorDepthReduced, ShowsDepthInTheMiddleOfTheBlock)
{
    const auto [binning, decimation] = GetParam();
    for (const char *const direction : {"Horizontal", "Vertical"})
    {
        ASSERT_OK(m_camera->Set(std::string("Binning") + direction, binning));
        ASSERT_OK(m_camera->Set(std::string("Decimation") + direction, decimation));
    }
    const double step = binning * decimation;
    SetRegion(100, 60, 20, 10);
    const std::vector<unsigned> values = GrabRange();
    ASSERT_EQ(6000U, values.size());
    size_t compared = 0;
    for (size_t i = 0; i < values.size(); i += 11)
    {
        const double column = step * static_cast<double>(i % 100 + 20) + (step - 1) / 2;
        const double row = step * static_cast<double>(i / 100 + 10) + (step - 1) / 2;
        const Direction direction = DirectionAt(column, row);
        if (column < 380 && row < 330) // left of the plate and above the band
        {
            const double depth = SphereDepth(direction).value_or(PlaneDepth(direction));
            ASSERT_NEAR(depth / 0.5, values[i], 0.501) << i;
            ++compared;
        }
    }
    EXPECT_GT(compared, 300U);
}

INSTANTIATE_TEST_SUITE_P(BinningAndDecimation, SimulatorDepthReduced,
                         ::testing::Values(std::pair(2U, 1U), std::pair(1U, 2U), std::pair(1U, 3U),
                                           std::pair(2U, 2U)));

TEST_F(SimulatorDepth, RangeAloneIsA3dImage)
{
    AnnounceBuffers(4);
    Start(1);
    const Received received = Receive();
    EXPECT_EQ(size_t{PAYLOAD_TYPE_IMAGE}, BufferInfo<size_t>(received.handle, BUFFER_INFO_PAYLOADTYPE));
    EXPECT_EQ(0x011000B8U, BufferInfo<uint64_t>(received.handle, BUFFER_INFO_PIXELFORMAT));
    EXPECT_EQ(size_t{PART_DATATYPE_3D_IMAGE},
              PartInfo<size_t>(received.handle, 0, BUFFER_PART_INFO_DATA_TYPE));
    Stop();
}

} // namespace
} // namespace simulator_test
