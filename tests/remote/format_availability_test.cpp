#include "override_test.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <optional>
#include <ostream>

namespace GenTL::internal
{
namespace
{

using namespace overrides;
using testing::Each;
using testing::ElementsAre;
using testing::SizeIs;

class FormatAvailability : public OverrideTest
{
protected:
    static constexpr uint64_t modeAddress = 0x170;

    void UseModes(const std::string &entries)
    {
        extra += Enumeration("Scan3dOutputMode", modeAddress, {}, entries);
    }
};

TEST_F(FormatAvailability, TellTheProcessorAboutTheFormatsOfTheDevice)
{
    UseConditions();
    device.SetRegister(pixelFormatAddress, 0x01080001);
    device.SetRegister(availableAddress, 0b0111);
    Open();
    EXPECT_THAT(processor->calls->All(),
                ElementsAre("inputs of Image2D", "outputs of Image2D", "output of Image2D is 1080001"));
    EXPECT_THAT(processor->offered[Component::Image2D], ElementsAre(PixelFormat::Mono8))
        << "RGB8 is available and not implemented";
}

TEST_F(FormatAvailability, OfferOnlyFormatsOfWhichBothConditionsHold)
{
    UseConditions();
    for (const uint32_t bits : {0b00U, 0b01U, 0b10U, 0b11U})
    {
        device.SetRegister(availableAddress, bits);
        Open();
        EXPECT_THAT(processor->offered[Component::Image2D], SizeIs(bits == 0b11U ? 1 : 0)) << bits;
    }
    device.SetRegister(availableAddress, 0b0111);
    device.SetRegister(implementedAddress, 0b1000);
    Open();
    EXPECT_THAT(processor->offered[Component::Image2D], ElementsAre(PixelFormat::Mono8, PixelFormat::RGB8));
}

TEST_F(FormatAvailability, ReadARegisterOfConditionsOnce)
{
    UseConditions();
    device.SetRegister(availableAddress, 0xF);
    uint64_t count = 0;
    proxy->onGCReadPort =
        [&, read = proxy->onGCReadPort](PORT_HANDLE handle, uint64_t address, void *buffer, size_t *size)
    {
        count += address == availableAddress ? 1 : 0;
        return read(handle, address, buffer, size);
    };
    Open();
    EXPECT_EQ(count, 1U);
}

TEST_F(FormatAvailability, RefuseAConditionWithoutARegister)
{
    pixelFormats = Entry("Mono8", 0x01080001, Available("Always"));
    extra = "<Integer Name=\"Always\"><Value>1</Value></Integer>";
    EXPECT_EQ(OpenFailure(),
              (Failure{"Failed to find node with address 0, this should never happen!", GC_ERR_ERROR}));
}

TEST_F(FormatAvailability, RefuseAConditionThatIsNotUnderstood)
{
    pixelFormats = Entry("Mono8", 0x01080001, Available("Odd"));
    extra = Register("AvailableReg", availableAddress, {}) +
            "<IntSwissKnife Name=\"Odd\"><pVariable Name=\"VAR\">AvailableReg</pVariable>"
            "<Formula>VAR = 1</Formula></IntSwissKnife>";
    EXPECT_THROW(Open(), std::bad_optional_access);
}

// Availability

struct AvailabilityCase
{
    Layout layout;
    Bytes device; ///< what the register holds
    Bytes image;  ///< what the consumer reads
    Bytes range;  ///< with the component Range selected

    friend std::ostream &operator<<(std::ostream &stream, const AvailabilityCase &value)
    {
        return stream << value.layout.length << " bytes, " << value.layout.order;
    }
};

class AvailabilityOverride : public FormatAvailability, public testing::WithParamInterface<AvailabilityCase>
{
};

TEST_P(AvailabilityOverride, MakesProcessedFormatsLookAvailable)
{
    const auto &[layout, held, image, rangeImage] = GetParam();
    availability = layout;
    UseConditions();
    UseSelector();
    processor->available[Component::Image2D] = {PixelFormat::RGB8};
    processor->available[Component::Image3D] = {PixelFormat::Mono8};
    Open();
    SetRegisters(availableAddress, held);
    auto bytes = Read(availableAddress, held.size());
    EXPECT_EQ(bytes, image);
    Select(range);
    bytes = Read(availableAddress, held.size());
    EXPECT_EQ(bytes, rangeImage);
    EXPECT_EQ(DeviceBytes(availableAddress, held.size()), held);
}

// Bit 2 for RGB8 in Image2D; bits 0 and 1 for Mono8 in Image3D.
INSTANTIATE_TEST_SUITE_P(
    Registers, AvailabilityOverride,
    testing::Values(
        AvailabilityCase{{4, "LittleEndian", "RW", ""}, {0x10, 1, 2, 3}, {0x14, 1, 2, 3}, {3, 0, 0, 0}},
        // The first half of 64 bits in the register's byte order.
        AvailabilityCase{{4, "BigEndian", "RW", ""}, {1, 2, 3, 0x10}, {1, 2, 3, 0x14}, {0, 0, 0, 0}},
        AvailabilityCase{{8, "LittleEndian", "RW", ""},
                         {0x10, 1, 2, 3, 4, 5, 6, 7},
                         {0x14, 1, 2, 3, 4, 5, 6, 7},
                         {3, 0, 0, 0, 0, 0, 0, 0}},
        AvailabilityCase{{8, "BigEndian", "RW", ""},
                         {1, 2, 3, 4, 5, 6, 7, 0x10},
                         {1, 2, 3, 4, 5, 6, 7, 0x14},
                         {0, 0, 0, 0, 0, 0, 0, 3}},
        // Any other length counts as 32 bits, of which a short register has as many as fit.
        AvailabilityCase{{2, "LittleEndian", "RW", ""}, {0x10, 1}, {0x14, 1}, {3, 0}},
        AvailabilityCase{{2, "BigEndian", "RW", ""}, {1, 0x10}, {1, 0x14}, {0, 0}},
        AvailabilityCase{
            {6, "LittleEndian", "RW", ""}, {0x10, 1, 2, 3, 4, 5}, {0x14, 1, 2, 3, 4, 5}, {3, 0, 0, 0, 4, 5}},
        AvailabilityCase{
            {6, "BigEndian", "RW", ""}, {1, 2, 3, 0x10, 4, 0}, {1, 2, 3, 0x14, 4, 0}, {0, 0, 0, 0, 4, 0}},
        AvailabilityCase{{12, "LittleEndian", "RW", ""},
                         {0x10, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11},
                         {0x14, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11},
                         {3, 0, 0, 0, 4, 5, 6, 7, 8, 9, 10, 11}}));

TEST_F(FormatAvailability, MakeBothConditionsOfAFormatHold)
{
    UseConditions();
    processor->available[Component::Image2D] = {PixelFormat::RGB8};
    Open();
    EXPECT_EQ(Read(availableAddress, 4), BytesOf(uint32_t{0b0100}));
    EXPECT_EQ(Read(implementedAddress, 4), BytesOf(uint32_t{0b1000}));
}

TEST_F(FormatAvailability, PassByAnOutputFormatWithoutAnEntry)
{
    UseConditions();
    processor->available[Component::Image2D] = {PixelFormat::Mono16, PixelFormat::Mono8};
    Open();
    EXPECT_EQ(Read(availableAddress, 4), BytesOf(uint32_t{0b0011}));
}

TEST_F(FormatAvailability, LeaveConditionsAloneThatNoOutputFormatHas)
{
    UseConditions();
    processor->available[Component::Image2D] = {PixelFormat::Mono8};
    Open();
    device.SetRegister(implementedAddress, 0x70);
    EXPECT_EQ(Read(implementedAddress, 4), BytesOf(uint32_t{0x70}));
    WriteBytes(availableAddress, {1, 2, 3, 4});
    EXPECT_THAT(writes, ElementsAre(Write{availableAddress, {1, 2, 3, 4}}));
}

TEST_F(FormatAvailability, FollowWhatAnother3dModeMakes)
{
    UseConditions();
    UseSelector();
    UseModes(Entry("CalibratedC", 15));
    processor->available[Component::Image2D] = {PixelFormat::Mono8};
    processor->available[Component::Image3D] = {PixelFormat::Mono8};
    Open();
    Select(range);
    EXPECT_EQ(Read(availableAddress, 4), BytesOf(uint32_t{0b0011}));
    processor->available[Component::Image3D] = {PixelFormat::RGB8};
    Forget();
    WriteBytes(modeAddress, BytesOf(uint32_t{15}));
    EXPECT_THAT(writes, testing::IsEmpty()) << "no component is selected for it";
    EXPECT_EQ(Read(availableAddress, 4), BytesOf(uint32_t{0b0100})) << "Mono8 is not made any more";
    EXPECT_EQ(Read(implementedAddress, 4), BytesOf(uint32_t{0})) << "a new register has no override";
    Select(intensity);
    EXPECT_EQ(Read(availableAddress, 4), BytesOf(uint32_t{0b0011})) << "of another component";
}

TEST_F(FormatAvailability, WinsOverThe3dModesOfTheSameRegister)
{
    UseConditions();
    UseModes(Entry("CalibratedC", 15, Available("Bit3")));
    processor->available[Component::Image2D] = {PixelFormat::RGB8};
    Open();
    EXPECT_EQ(Read(availableAddress, 4), BytesOf(uint32_t{0b0100}));
    processor->available.clear();
    Open();
    EXPECT_EQ(Read(availableAddress, 4), BytesOf(uint32_t{0b1000})) << "theirs otherwise";
}

TEST_F(FormatAvailability, FailsForAComponentWithoutFormats)
{
    UseConditions();
    UseSelector();
    processor->available[Component::Image2D] = {PixelFormat::RGB8};
    Open();
    Select(confidence);
    EXPECT_EQ(FailureOf([&] { Read(availableAddress, 4); }),
              PlainFailure("unordered_map::at: key not found"));
    EXPECT_THAT(device.reads, ElementsAre(DeviceRead(availableAddress, 4)));
}

TEST_F(FormatAvailability, IgnoresAnOverstatedLengthOfConditions)
{
    UseConditions();
    UseSelector();
    processor->available[Component::Image2D] = {PixelFormat::Mono8};
    processor->available[Component::Image3D] = {PixelFormat::Mono8};
    Open();
    proxy->onGCReadPort = [](PORT_HANDLE, uint64_t, void *buffer, size_t *size)
    {
        std::memset(buffer, 0x10, *size);
        *size = 100;
        return GC_ERR_SUCCESS;
    };
    for (const uint32_t component : {intensity, range})
    {
        Select(component);
        Bytes bytes(8, 0xEE);
        size_t size = 4;
        port->ReadPort(availableAddress, bytes.data(), &size);
        EXPECT_THAT(Bytes(bytes.begin() + 4, bytes.end()), Each(0xEE));
        EXPECT_EQ(bytes[0], component == range ? 0x03 : 0x13);
    }
}

TEST_F(FormatAvailability, RefusesConditionsOfAnotherLength)
{
    pixelFormats = Entry("Mono8", 0x01080001, Available("Bit"));
    extra = BitOf("Bit", "OtherReg", 0) + Register("OtherReg", pixelFormatAddress, {.length = 8});
    processor->available[Component::Image2D] = {PixelFormat::Mono8};
    EXPECT_EQ(OpenFailure(),
              (Failure{"Port callback register size mismatch detected on 264 (PixelFormat)", GC_ERR_ERROR}));
}

} // namespace
} // namespace GenTL::internal
