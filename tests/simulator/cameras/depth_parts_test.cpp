// The images that the depth camera sends in one buffer: which images, where they are, and what they show.

#include "support/simulator/depth_camera.h"

namespace simulator_test
{
namespace
{

constexpr size_t sensorPixels = sensorWidth * sensorHeight;

class SimulatorDepthParts : public DepthCameraTest
{
protected:
    void Enable(const char *component, bool on = true)
    {
        ASSERT_OK(m_camera->SetEntry("ComponentSelector", component));
        ASSERT_OK(m_camera->Set("ComponentEnable", on ? 1 : 0));
    }

    void EnableAll()
    {
        Enable("Confidence");
        Enable("Intensity");
    }

    std::vector<uint8_t> Part(BUFFER_HANDLE buffer, uint32_t part)
    {
        const auto *const base =
            static_cast<const uint8_t *>(PartInfo<void *>(buffer, part, BUFFER_PART_INFO_BASE));
        return {base, base + PartInfo<size_t>(buffer, part, BUFFER_PART_INFO_DATA_SIZE)};
    }

    uint32_t NumParts(BUFFER_HANDLE buffer)
    {
        uint32_t count = 0;
        EXPECT_OK(Tl().DSGetNumBufferParts(m_stream, buffer, &count));
        return count;
    }

    /// The image of a component that is alone in its frame.
    std::vector<uint8_t> GrabAlone(const char *component)
    {
        Enable(component);
        Enable("Range", false);
        return GrabOne();
    }
};

TEST_F(SimulatorDepthParts, FollowEachOtherInTheBuffer)
{
    EnableAll();
    EXPECT_EQ(static_cast<int64_t>(4 * sensorPixels), m_camera->Get("PayloadSize"));
    AnnounceBuffers(4);
    Start(1);
    const BUFFER_HANDLE buffer = Receive().handle;
    EXPECT_EQ(size_t{PAYLOAD_TYPE_MULTI_PART}, BufferInfo<size_t>(buffer, BUFFER_INFO_PAYLOADTYPE));
    EXPECT_EQ(4 * sensorPixels, BufferInfo<size_t>(buffer, BUFFER_INFO_SIZE_FILLED));
    ASSERT_EQ(3U, NumParts(buffer));
    struct Expected
    {
        size_t type;
        uint64_t format;
        size_t offset;
        size_t size;
    };
    const Expected expected[] = {{PART_DATATYPE_3D_IMAGE, 0x011000B8, 0, 2 * sensorPixels},
                                 {PART_DATATYPE_2D_IMAGE, 0x01080001, 2 * sensorPixels, sensorPixels},
                                 {PART_DATATYPE_CONFIDENCE_MAP, 0x010800C6, 3 * sensorPixels, sensorPixels}};
    auto *const base = static_cast<uint8_t *>(BufferInfo<void *>(buffer, BUFFER_INFO_BASE));
    for (uint32_t i = 0; i < 3; ++i)
    {
        SCOPED_TRACE(i);
        EXPECT_EQ(expected[i].type, PartInfo<size_t>(buffer, i, BUFFER_PART_INFO_DATA_TYPE));
        EXPECT_EQ(expected[i].format, PartInfo<uint64_t>(buffer, i, BUFFER_PART_INFO_DATA_FORMAT));
        EXPECT_EQ(base + expected[i].offset, PartInfo<void *>(buffer, i, BUFFER_PART_INFO_BASE));
        EXPECT_EQ(expected[i].size, PartInfo<size_t>(buffer, i, BUFFER_PART_INFO_DATA_SIZE));
        EXPECT_EQ(sensorWidth, PartInfo<size_t>(buffer, i, BUFFER_PART_INFO_WIDTH));
        EXPECT_EQ(sensorHeight, PartInfo<size_t>(buffer, i, BUFFER_PART_INFO_HEIGHT));
    }
    INFO_DATATYPE type = 0;
    size_t size = 0;
    EXPECT_CODE(GC_ERR_INVALID_INDEX,
                Tl().DSGetBufferPartInfo(m_stream, buffer, 3, BUFFER_PART_INFO_BASE, &type, nullptr, &size));
    for (const BUFFER_INFO_CMD command :
         {BUFFER_INFO_WIDTH, BUFFER_INFO_PIXELFORMAT, BUFFER_INFO_IMAGEOFFSET})
    {
        EXPECT_CODE(GC_ERR_NOT_AVAILABLE,
                    Tl().DSGetBufferInfo(m_stream, buffer, command, &type, nullptr, &size))
            << command;
    }
    Stop();
}

TEST_F(SimulatorDepthParts, EqualTheImagesSentAlone)
{
    const std::vector<uint8_t> range = GrabOne();
    const std::vector<uint8_t> confidence = GrabAlone("Confidence");
    ASSERT_EQ(sensorPixels, confidence.size());
    Enable("Intensity");
    Enable("Confidence", false);
    const std::vector<uint8_t> light = GrabOne();
    ASSERT_EQ(sensorPixels, light.size());
    Enable("Range");
    Enable("Confidence");
    AnnounceBuffers(4);
    Start(2);
    for (int frame = 0; frame < 2; ++frame)
    {
        const BUFFER_HANDLE buffer = Receive().handle;
        EXPECT_EQ(range, Part(buffer, 0));
        EXPECT_EQ(light, Part(buffer, 1));
        EXPECT_EQ(confidence, Part(buffer, 2));
    }
    Stop();
}

TEST_F(SimulatorDepthParts, AreTheEnabledComponents)
{
    Enable("Confidence");
    Enable("Range", false);
    AnnounceBuffers(4);
    Start(1);
    const BUFFER_HANDLE buffer = Receive().handle;
    EXPECT_EQ(size_t{PAYLOAD_TYPE_IMAGE}, BufferInfo<size_t>(buffer, BUFFER_INFO_PAYLOADTYPE));
    EXPECT_EQ(0x010800C6U, BufferInfo<uint64_t>(buffer, BUFFER_INFO_PIXELFORMAT));
    ASSERT_EQ(1U, NumParts(buffer));
    EXPECT_EQ(size_t{PART_DATATYPE_CONFIDENCE_MAP}, PartInfo<size_t>(buffer, 0, BUFFER_PART_INFO_DATA_TYPE));
    Stop();
    EXPECT_CODE(GC_ERR_INVALID_VALUE,
                (m_camera->SetEntry("ComponentSelector", "Confidence"), m_camera->Set("ComponentEnable", 0)));
    EXPECT_EQ(1, m_camera->Get("ComponentEnable"));
}

TEST_F(SimulatorDepthParts, HaveAPixelFormatEach)
{
    ASSERT_OK(m_camera->SetEntry("PixelFormat", "Coord3D_C8"));
    EXPECT_CODE(GC_ERR_INVALID_VALUE, m_camera->SetEntry("PixelFormat", "Mono8"));
    ASSERT_OK(m_camera->SetEntry("ComponentSelector", "Intensity"));
    EXPECT_EQ(0x01080001, m_camera->Get("PixelFormat"));
    EXPECT_CODE(GC_ERR_INVALID_VALUE, m_camera->SetEntry("PixelFormat", "Coord3D_C8"));
    ASSERT_OK(m_camera->SetEntry("ComponentSelector", "Confidence"));
    EXPECT_EQ(0x010800C6, m_camera->Get("PixelFormat"));
    ASSERT_OK(m_camera->SetEntry("ComponentSelector", "Range"));
    EXPECT_EQ(0x010800B1, m_camera->Get("PixelFormat"));
}

TEST_F(SimulatorDepthParts, HaveFormatBitsOfTheSelectedOne)
{
    std::map<std::string, int64_t> bits;
    int64_t bit = 1;
    for (const pugi::xml_node entry : m_camera->Node("PixelFormat").children("EnumEntry"))
    {
        bits[entry.attribute("Name").value()] = bit;
        bit <<= 1;
    }
    // A struct has no name: its address is behind its comment.
    const auto available = [&]
    {
        const pugi::xml_node node =
            m_camera->Document().select_node("//StructReg[@Comment='PixelFormatAvailableReg']").node();
        uint32_t value = 0;
        size_t size = sizeof value;
        EXPECT_OK(Tl().GCReadPort(m_port, std::stoull(node.child("Address").text().get(), nullptr, 16),
                                  &value, &size));
        return int64_t{value};
    };
    EXPECT_EQ(bits.at("Coord3D_C16") | bits.at("Coord3D_C8"), available());
    ASSERT_OK(m_camera->SetEntry("ComponentSelector", "Intensity"));
    EXPECT_EQ(bits.at("Mono8"), available());
    ASSERT_OK(m_camera->SetEntry("ComponentSelector", "Confidence"));
    EXPECT_EQ(bits.at("Confidence8"), available());
    EXPECT_EQ(0, m_camera->Get("PixelFormatImplementedReg") &
                     (bits.at("Coord3D_C32f") | bits.at("Coord3D_ABC32f")));
}

TEST_F(SimulatorDepthParts, ShowStraightLinesOnThePlane)
{
    const std::vector<uint8_t> light = GrabAlone("Intensity");
    ASSERT_EQ(sensorPixels, light.size());
    const auto at = [&](double x, double y)
    {
        const double z = 1500 + 0.25 * x + 0.10 * y;
        const Direction place = PlaceOf({x / z, y / z});
        return int{light[static_cast<size_t>(std::lround(place.y)) * sensorWidth +
                         static_cast<size_t>(std::lround(place.x))]};
    };
    for (double x = -600; x <= 900; x += 50)
    {
        EXPECT_LT(at(x, -400), 70) << x; // on the line y = -400
        EXPECT_LT(at(x, 600), 70) << x;
    }
    for (double y = -550; y <= -350; y += 100)
    {
        EXPECT_GT(at(-450, y), 150) << y; // between the lines
        EXPECT_GT(at(650, y), 150) << y;
    }
    EXPECT_EQ(0, at(0, 365)); // in the band without depth
}

TEST_F(SimulatorDepthParts, ConfidenceFollowsTheSurfaceAngle)
{
    const std::vector<uint8_t> confidence = GrabAlone("Confidence");
    ASSERT_EQ(sensorPixels, confidence.size());
    const Direction direction = DirectionAt(322, 40);
    const double length = std::sqrt(direction.x * direction.x + direction.y * direction.y + 1);
    const double cosine =
        (1 - 0.25 * direction.x - 0.10 * direction.y) / length / std::sqrt(1 + 0.25 * 0.25 + 0.10 * 0.10);
    EXPECT_NEAR(255 * cosine, confidence[40 * sensorWidth + 322], 0.501);
    const Direction inBand = PlaceOf({0.0, 365 / 1536.5});
    EXPECT_EQ(0, confidence[static_cast<size_t>(inBand.y) * sensorWidth + 322]);
}

TEST_F(SimulatorDepthParts, ExposureActsOnIntensityAlone)
{
    EnableAll();
    const std::vector<uint8_t> bright = GrabOne();
    ASSERT_OK(m_camera->SetFloat("ExposureTime", 5000.0F));
    const std::vector<uint8_t> dark = GrabOne();
    ASSERT_EQ(4 * sensorPixels, dark.size());
    const auto first = [](const std::vector<uint8_t> &bytes, size_t part)
    { return bytes.begin() + static_cast<ptrdiff_t>(part * sensorPixels); };
    EXPECT_TRUE(std::equal(first(bright, 0), first(bright, 2), first(dark, 0)));
    EXPECT_TRUE(std::equal(first(bright, 3), first(bright, 4), first(dark, 3)));
    const size_t pixel = 2 * sensorPixels + 200 * sensorWidth + 450; // on the plate
    EXPECT_GT(bright[pixel], 100);
    EXPECT_NEAR(bright[pixel] / 2.0, dark[pixel], 1.0);
}

TEST_F(SimulatorDepthParts, EndWhereTheBufferEndsAndDoNotBeginBehindIt)
{
    constexpr size_t pixels = 16 * 10;
    EnableAll();
    SetRegion(16, 10);
    struct Expected
    {
        size_t buffer;
        std::vector<size_t> parts; ///< bytes of each
    };
    const Expected expected[] = {{pixels, {pixels}},
                                 {2 * pixels, {2 * pixels}},
                                 {3 * pixels - 1, {2 * pixels, pixels - 1}},
                                 {3 * pixels + 1, {2 * pixels, pixels, 1}}};
    for (const auto &[size, parts] : expected)
    {
        SCOPED_TRACE(size);
        for (int i = 0; i < 4; ++i)
        {
            BUFFER_HANDLE small = nullptr;
            ASSERT_OK(Tl().DSAllocAndAnnounceBuffer(m_stream, size, nullptr, &small));
            ASSERT_OK(Tl().DSQueueBuffer(m_stream, small));
            m_buffers.push_back(small);
        }
        Start(1);
        const BUFFER_HANDLE buffer = Receive().handle;
        EXPECT_TRUE(BufferInfo<bool8_t>(buffer, BUFFER_INFO_IS_INCOMPLETE));
        ASSERT_EQ(parts.size(), NumParts(buffer));
        for (uint32_t i = 0; i < parts.size(); ++i)
        {
            EXPECT_EQ(parts[i], PartInfo<size_t>(buffer, i, BUFFER_PART_INFO_DATA_SIZE)) << i;
        }
        INFO_DATATYPE type = 0;
        size_t length = 0;
        EXPECT_CODE(GC_ERR_INVALID_INDEX,
                    Tl().DSGetBufferPartInfo(m_stream, buffer, NumParts(buffer), BUFFER_PART_INFO_BASE, &type,
                                             nullptr, &length));
        StopAndRevoke();
    }
}

} // namespace
} // namespace simulator_test
