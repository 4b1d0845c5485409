// Each kind of description through the exports: the formats that are offered, what the device is told, and
// the frames that come.

#include "described_device.h"

#include <gmock/gmock.h>

#include <ostream>

namespace GenTL::internal::described
{
namespace
{

using tarn::common::wideFormats;
using testing::ElementsAreArray;

/// A format that the consumer is offered, and the entry that the device is set to for it.
struct Offer
{
    std::string format;
    std::string wire = format;
};

/// A device, and what must become of it.
struct Case
{
    std::string fixture;
    std::vector<Offer> offers;
    Registers registers;          ///< what else the device holds
    bool streamTellsSize = false; ///< instead of a register, which no script keeps up to date

    friend std::ostream &operator<<(std::ostream &stream, const Case &device)
    {
        return stream << device.fixture;
    }
};

const std::vector<Offer> depth12{{"Mono8"}, {"Mono12p"}, {"Mono12", "Mono12p"}};
const std::vector<Offer> ownDepth12{{"Mono8"}, {"Mono12p"}, {"Mono12"}};

const Case cases[] = {
    {"gige_vision_1_formats",
     {{"Mono8"},
      {"Mono10Packed"},
      {"Mono12Packed"},
      {"Mono14"},
      {"BayerRG8"},
      {"BayerRG12Packed"},
      {"BayerRG16"},
      {"YUV411Packed"},
      {"YUV422Packed"},
      {"YCbCr422_8"},
      {"Mono10", "Mono10Packed"},
      {"Mono12", "Mono12Packed"},
      {"BayerRG12", "BayerRG12Packed"}},
     {}},
    // A set bit, a Boolean that is on, and an Enumeration that says Colour.
    {"conditions",
     {{"Mono8"}, {"Mono12p"}, {"Mono12"}, {"BayerRG12p"}, {"RGB8"}, {"BayerRG12", "BayerRG12p"}},
     {{0x200, 0x10000000}, {0x204, 7}, {0x208, 1}}},
    // The same device without the bit: Mono12 is still there, but not from Mono12p.
    {"conditions",
     {{"Mono8"}, {"Mono12"}, {"BayerRG12p"}, {"RGB8"}, {"BayerRG12", "BayerRG12p"}},
     {{0x204, 7}, {0x208, 1}}},
    // Only Mono12p is there, from which Mono12 is made, although the device's own is not available.
    {"conditions",
     {{"Mono8"}, {"Mono12p"}, {"Mono12", "Mono12p"}, {"BayerRG12p"}, {"BayerRG12", "BayerRG12p"}},
     {{0x200, 0x10000000}, {0x204, 3}, {0x208, 1}}},
    {"format_behind_converter", {{"Mono8"}, {"Mono10p"}, {"Mono10"}}, {}},
    {"format_in_a_structure", depth12, {}, true},
    {"format_that_selects", ownDepth12, {{0x150, 1}}},
    {"invalidators", ownDepth12, {{0x160, 4096}}},
    {"names_in_use", depth12, {}},
    {"payload_by_formula", ownDepth12, {{0x120, 1}}},
    {"payload_missing", {{"Mono10p"}, {"Mono10", "Mono10p"}}, {}},
    {"payload_missing", {{"Mono10p"}, {"Mono10", "Mono10p"}}, {}, true},
    {"payload_missing_no_root", {{"Mono8"}}, {}},
    {"ports_of_chunks", depth12, {}},
    {"prefixed_elements", {{"Mono12p"}, {"Mono12", "Mono12p"}}, {}},
    {"schema_1_0", {{"Mono8"}, {"Mono12Packed"}, {"Mono12", "Mono12Packed"}}, {}},
    {"swapped_port", depth12, {}, true},
    {"values_that_are_no_codes",
     {{"Mono8"},
      {"Mono12p"},
      {"BayerGB12p"},
      {"BayerRG12"},
      {"LarkfieldRaw"},
      {"Wide"},
      {"Mono12", "Mono12p"}},
     {}},
    {"window_in_use", depth12, {}},
    {"writable_literals", depth12, {{0x300, Camera::width}}},
};

class DescribedFormats : public AnyDevice, public testing::WithParamInterface<Case>
{
protected:
    void SetUp() override
    {
        Connect(Fixture(GetParam().fixture), std::nullopt, GetParam().registers);
        lower->definesPayloadSize = GetParam().streamTellsSize;
        // The camera begins in the wire format of the first offer.
        camera->Features().WriteText("PixelFormat", GetParam().offers.front().wire);
    }

    std::vector<std::string> Formats() const
    {
        std::vector<std::string> names;
        for (const auto &offer : GetParam().offers)
        {
            names.push_back(offer.format);
        }
        return names;
    }

    /// The device's own format, which the consumer sees beside the public one.
    std::string DeviceFormatFeature()
    {
        return Features().Has("DevicePixelFormat") ? "DevicePixelFormat" : "DevicePixelFormat_2";
    }

    /// Gives the camera's frames their size, where its description has a register for it.
    void SetPayloadSize(size_t bytes)
    {
        constexpr uint64_t payloadSizeRegister = 0x10C;
        camera->Set(payloadSizeRegister, static_cast<uint32_t>(bytes));
        lower->payloadSize = bytes;
    }

    void StreamsAs(const std::string &name)
    {
        const auto code = static_cast<tarn::common::PixelFormat>(Features().ReadInteger("PixelFormat"));
        const auto *format = wideFormats.Resolve(name, code);
        const auto sent = camera->Frame();
        SetPayloadSize(sent.bytes.size());
        const auto frame =
            Stream([&] { EXPECT_EQ(CodeOfWriting("PixelFormat", Formats().front()), GC_ERR_ACCESS_DENIED); });
        EXPECT_FALSE(frame.isIncomplete);
        EXPECT_EQ(frame.width, Camera::width);
        EXPECT_EQ(frame.height, Camera::height);
        EXPECT_EQ(frame.size, frame.announced);
        if (format != nullptr)
        {
            EXPECT_EQ(frame.format, static_cast<uint64_t>(format->format));
            EXPECT_EQ(frame.size, GetSizeInBytes(*format, {Camera::width, Camera::height}));
        }
        if (camera->Format() == format)
        {
            EXPECT_EQ(frame.bytes, sent.bytes);
        }
    }
};

TEST_P(DescribedFormats, AreOfferedToAReader)
{
    Open(DEVICE_ACCESS_READONLY);
    EXPECT_THAT(Offered(), ElementsAreArray(Formats()));
    EXPECT_EQ(lower->lastAccess, DEVICE_ACCESS_READONLY);
    EXPECT_EQ(lower->CountOf("GCWritePort"), 0U);
    Close();
}

TEST_P(DescribedFormats, StreamInEachThatIsOffered)
{
    Open(DEVICE_ACCESS_CONTROL);
    ASSERT_THAT(Offered(), ElementsAreArray(Formats()));
    for (const auto &[format, wire] : GetParam().offers)
    {
        SCOPED_TRACE(format);
        ASSERT_EQ(CodeOfWriting("PixelFormat", format), GC_ERR_SUCCESS) << Error();
        EXPECT_EQ(Features().ReadText("PixelFormat"), format);
        EXPECT_EQ(camera->Features().ReadText("PixelFormat"), wire);
        EXPECT_EQ(Features().ReadText(DeviceFormatFeature()), wire);
        StreamsAs(format);
        EXPECT_EQ(camera->Features().ReadText("PixelFormat"), wire);
    }
    Close();
}

INSTANTIATE_TEST_SUITE_P(Each, DescribedFormats, testing::ValuesIn(cases));

using DescribedDevice = AnyDevice;

TEST_F(DescribedDevice, SetsTheRegistersOfAConverter)
{
    Connect(Fixture("format_behind_converter"));
    Open(DEVICE_ACCESS_CONTROL);
    ASSERT_EQ(CodeOfWriting("PixelFormat", "Mono10p"), GC_ERR_SUCCESS) << Error();
    EXPECT_EQ(camera->Get(0x108), 0x000A0046U);
}

TEST_F(DescribedDevice, SetsTheBitsOfAStructure)
{
    Connect(Fixture("format_in_a_structure"));
    Open(DEVICE_ACCESS_CONTROL);
    ASSERT_EQ(CodeOfWriting("PixelFormat", "Mono12"), GC_ERR_SUCCESS) << Error();
    EXPECT_EQ(camera->Get(0x180), 0x47000C01U);
}

TEST_F(DescribedDevice, SetsARegisterInTheOrderOfASwappedPort)
{
    Connect(Fixture("swapped_port"));
    Open(DEVICE_ACCESS_CONTROL);
    ASSERT_EQ(CodeOfWriting("PixelFormat", "Mono12"), GC_ERR_SUCCESS) << Error();
    EXPECT_EQ(camera->Get(0x108), 0x47000C01U);
}

TEST_F(DescribedDevice, ConvertsAFormatThatIsReadOnly)
{
    Connect(Fixture("format_by_formula"));
    camera->Set(0x140, 12);
    camera->Set(0x10C, 96);
    Open(DEVICE_ACCESS_CONTROL);
    EXPECT_EQ(Features().ReadText("PixelFormat"), "Mono12p");
    ASSERT_EQ(CodeOfWriting("PixelFormat", "Mono12"), GC_ERR_SUCCESS) << Error();
    const auto frame = Stream();
    EXPECT_EQ(frame.format, 0x01100005U);
    EXPECT_EQ(frame.size, 128U);
    EXPECT_EQ(CodeOfWriting("PixelFormat", "Mono8"), GC_ERR_ACCESS_DENIED);
}

TEST_F(DescribedDevice, UnpacksThePixelsOfGigEVisionOne)
{
    Connect(Fixture("gige_vision_1_formats"));
    camera->Set(0x10C, 96);
    Open(DEVICE_ACCESS_CONTROL);
    ASSERT_EQ(CodeOfWriting("PixelFormat", "Mono12"), GC_ERR_SUCCESS) << Error();
    // The camera sends 3, 20, 37: 0x03, 0x14, 0x25.
    const auto frame = Stream();
    ASSERT_EQ(frame.size, 128U);
    EXPECT_EQ(frame.bytes[0] | frame.bytes[1] << 8, 0x034);
    EXPECT_EQ(frame.bytes[2] | frame.bytes[3] << 8, 0x251);
}

TEST_F(DescribedDevice, StaysAsItIsWithoutAPort)
{
    const auto description = Fixture("port_missing");
    Connect(description);
    lower->definesPayloadSize = true;
    Open(DEVICE_ACCESS_CONTROL);
    EXPECT_EQ(text, description.substr(0, description.find_last_of('>') + 1));
    Close();
}

} // namespace
} // namespace GenTL::internal::described
