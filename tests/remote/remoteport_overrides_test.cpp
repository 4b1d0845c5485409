#include "override_test.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace GenTL::internal
{
namespace
{

using namespace overrides;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

using RemotePortOverrides = OverrideTest;

TEST_F(RemotePortOverrides, CheckTheArgumentsInTheirOrder)
{
    Open();
    uint32_t value = 0;
    size_t size = 0;
    const auto failures = [&](void *buffer, size_t *count)
    {
        return std::vector{FailureOf([&] { port->ReadPort(0x100, buffer, count); }),
                           FailureOf([&] { port->WritePort(0x100, buffer, count); })};
    };
    EXPECT_THAT(failures(nullptr, nullptr),
                Each(Failure{"piSize must not be NULL", GC_ERR_INVALID_PARAMETER}));
    EXPECT_THAT(failures(&value, nullptr),
                Each(Failure{"piSize must not be NULL", GC_ERR_INVALID_PARAMETER}));
    EXPECT_THAT(failures(nullptr, &size),
                Each(Failure{"pBuffer must not be NULL", GC_ERR_INVALID_PARAMETER}));
    EXPECT_THAT(failures(&value, &size), Each(Failure{"*piSize must not be 0", GC_ERR_INVALID_PARAMETER}));
    EXPECT_THAT(device.reads, IsEmpty());
    EXPECT_THAT(writes, IsEmpty());
}

TEST_F(RemotePortOverrides, ReadABlockWithTheFormatInItsPlace)
{
    Open();
    device.SetRegister(widthAddress, 640);
    device.SetRegister(heightAddress, 480);
    device.SetRegister(pixelFormatAddress, 0x01080001);
    device.SetRegister(pixelFormatAddress + 4, 77);
    processor->output[Component::Image2D] = PixelFormat::RGB8;
    EXPECT_EQ(Read(widthAddress, 16), BytesOf(std::array<uint32_t, 4>{640, 480, 0x02180014, 77}));
    EXPECT_THAT(device.reads, ElementsAre(DeviceRead(widthAddress, 8), DeviceRead(0x10C, 4)));
}

TEST_F(RemotePortOverrides, ReadTheDeviceInTheMiddleOfARegister)
{
    Open();
    device.SetRegister(pixelFormatAddress, 0x01080001);
    processor->output[Component::Image2D] = PixelFormat::RGB8;
    EXPECT_THAT(Read(pixelFormatAddress + 1, 2), ElementsAre(0x00, 0x08));
    EXPECT_THAT(device.reads, ElementsAre(DeviceRead(pixelFormatAddress + 1, 2)));
}

TEST_F(RemotePortOverrides, WriteABlockInPieces)
{
    Open();
    WriteBytes(heightAddress, BytesOf(uint64_t{0x02180014} << 32U | 480));
    EXPECT_THAT(writes, ElementsAre(Write{pixelFormatAddress, BytesOf(uint32_t{0x01080001})},
                                    Write{heightAddress, BytesOf(uint32_t{480})}));
}

TEST_F(RemotePortOverrides, WriteTheDeviceInTheMiddleOfARegister)
{
    Open();
    WriteBytes(pixelFormatAddress + 1, {7, 8});
    EXPECT_THAT(writes, ElementsAre(Write{pixelFormatAddress + 1, {7, 8}}));
}

TEST_F(RemotePortOverrides, HoldForStackedAccesses)
{
    Open();
    processor->payloadSize = 4711;
    uint32_t width = 0;
    uint32_t size = 0;
    uint32_t format = 0x02180014;
    device.SetRegister(widthAddress, 640);
    PORT_REGISTER_STACK_ENTRY reads[] = {{widthAddress, &width, sizeof width},
                                         {payloadSizeAddress, &size, sizeof size}};
    PORT_REGISTER_STACK_ENTRY writeEntry{pixelFormatAddress, &format, sizeof format};
    size_t count = 2;
    port->ReadPortStacked(reads, &count);
    EXPECT_EQ(count, 2U);
    EXPECT_EQ(width, 640U);
    EXPECT_EQ(size, 4711U);
    count = 1;
    port->WritePortStacked(&writeEntry, &count);
    EXPECT_THAT(writes, ElementsAre(Write{pixelFormatAddress, BytesOf(uint32_t{0x01080001})}));
}

TEST_F(RemotePortOverrides, AreNotSeenByTheSystemItself)
{
    Open();
    processor->payloadSize = 4711;
    device.SetRegister(payloadSizeAddress, 12);
    uint32_t value = 0;
    size_t size = sizeof value;
    port->ReadRegisters(payloadSizeAddress, &value, &size);
    EXPECT_EQ(value, 12U);
    value = 0x02180014;
    port->WriteRegisters(pixelFormatAddress, &value, &size);
    EXPECT_THAT(writes, ElementsAre(Write{pixelFormatAddress, BytesOf(value)}));
}

TEST_F(RemotePortOverrides, KeepTheSizeWhateverTheLowerProducerSays)
{
    Open();
    proxy->onGCReadPort = [](PORT_HANDLE, uint64_t, void *, size_t *size)
    {
        *size = 1;
        return GC_ERR_SUCCESS;
    };
    proxy->onGCWritePort = [](PORT_HANDLE, uint64_t, const void *, size_t *size)
    {
        *size = 1;
        return GC_ERR_SUCCESS;
    };
    Read(widthAddress, 4); // which looks at the size
    WriteBytes(widthAddress, Bytes(4));
    EXPECT_EQ(proxy->CountOf("GCWritePort"), 1U);
}

TEST_F(RemotePortOverrides, PassOnAFailureOfTheLowerProducer)
{
    Open();
    EXPECT_EQ(FailureOf([&] { Read(0x8000, 4); }), (Failure{"no register there", GC_ERR_INVALID_ADDRESS}));
    EXPECT_EQ(FailureOf([&] { Read(std::numeric_limits<uint64_t>::max(), 4); }),
              (Failure{"no register there", GC_ERR_INVALID_ADDRESS}));
    EXPECT_EQ(FailureOf([&] { WriteBytes(0x8000, Bytes(4)); }),
              (Failure{"no register there", GC_ERR_INVALID_ADDRESS}));
}

// The description

TEST_F(RemotePortOverrides, GiveTheDescriptionOutOfMemory)
{
    Open();
    const auto text = device.description;
    device.description.assign(text.size(), '?'); // goes unnoticed
    EXPECT_EQ(Read(0x10000, text.size()), Bytes(text.begin(), text.end()));
    EXPECT_EQ(Read(0x10005, 3), Bytes(text.begin() + 5, text.begin() + 8));
    EXPECT_THAT(device.reads, IsEmpty());
}

TEST_F(RemotePortOverrides, GoOnBehindTheDescriptionOnTheDevice)
{
    Open();
    FillTheAddressSpace(0x5A);
    const auto size = device.description.size();
    EXPECT_THAT(Read(0x10000 + size - 1, 2), ElementsAre('>', 0x5A));
    EXPECT_THAT(Read(0x10000 + size, 1), ElementsAre(0x5A));
    EXPECT_THAT(device.reads, ElementsAre(DeviceRead(0x10000 + size, 1), DeviceRead(0x10000 + size, 1)));
}

TEST_F(RemotePortOverrides, ReadTheDeviceAroundTheDescription)
{
    Open();
    FillTheAddressSpace(0x5A);
    const auto text = device.description;
    const auto expected = "ZZ" + text + "ZZZ"; // 'Z' is 0x5A
    EXPECT_EQ(Read(0xFFFE, text.size() + 5), Bytes(expected.begin(), expected.end()));
    EXPECT_THAT(device.reads, ElementsAre(DeviceRead(0xFFFE, 2), DeviceRead(0x10000 + text.size(), 3)));
    EXPECT_THAT(Read(0xFFFE, 2), ElementsAre(0x5A, 0x5A));
    EXPECT_THAT(Read(0xFFFF, 2), ElementsAre(0x5A, '<'));
}

TEST_F(RemotePortOverrides, GiveADescriptionAtTheEndOfTheAddressSpace)
{
    const auto text = Description();
    const auto first = std::numeric_limits<uint64_t>::max() - text.size() + 1;
    OpenAt(first, text);
    EXPECT_THAT(Read(std::numeric_limits<uint64_t>::max(), 1), ElementsAre('>'));
    EXPECT_EQ(Read(first, text.size()), Bytes(text.begin(), text.end()));
    EXPECT_THAT(device.reads, IsEmpty());
    device.SetRegister(widthAddress, 640);
    EXPECT_EQ(Read(widthAddress, 4), BytesOf(uint32_t{640}));
}

TEST_F(RemotePortOverrides, DoNotWrapADescriptionAround)
{
    const auto text = Description();
    const auto first = std::numeric_limits<uint64_t>::max() - 9;
    OpenAt(first, text);
    EXPECT_EQ(Read(first, 10), Bytes(text.begin(), text.begin() + 10));
    EXPECT_THAT(device.reads, IsEmpty());
    SetRegisters(0, {1, 2, 3});
    EXPECT_THAT(Read(0, 3), ElementsAre(1, 2, 3));
    EXPECT_THAT(device.reads, ElementsAre(DeviceRead(0, 3)));
}

// PayloadSize

TEST_F(RemotePortOverrides, GiveThePayloadSizeAfterProcessing)
{
    Open();
    processor->payloadSize = 0x12345678;
    EXPECT_THAT(Read(payloadSizeAddress, 4), ElementsAre(0x78, 0x56, 0x34, 0x12));
    EXPECT_THAT(device.reads, IsEmpty());
}

TEST_F(RemotePortOverrides, LimitThePayloadSizeToItsLowHalf)
{
    payloadSize.length = 8;
    Open();
    processor->payloadSize = 0x1122334455667788;
    EXPECT_EQ(Read(payloadSizeAddress, 8), BytesOf(uint64_t{0x55667788}));
}

TEST_F(RemotePortOverrides, GiveThePayloadSizeInItsByteOrder)
{
    payloadSize = {.length = 8, .order = "BigEndian"};
    Open();
    processor->payloadSize = 0x1122334455667788;
    EXPECT_EQ(Read(payloadSizeAddress, 8), Reversed(BytesOf(uint64_t{0x55667788})));
}

TEST_F(RemotePortOverrides, RefuseAPayloadSizeInAShortRegister)
{
    payloadSize.length = 2;
    Open();
    EXPECT_EQ(FailureOf([&] { Read(payloadSizeAddress, 2); }),
              (Failure{"Value will not fit in the buffer and would be truncated!", GC_ERR_ERROR}));
}

TEST_F(RemotePortOverrides, LetAWriteOfThePayloadSizeThrough)
{
    Open();
    WriteBytes(payloadSizeAddress, {1, 2, 3, 4});
    EXPECT_THAT(writes, ElementsAre(Write{payloadSizeAddress, {1, 2, 3, 4}}));
}

TEST_F(RemotePortOverrides, NeedAPayloadSizeFirstAndThenAPixelFormat)
{
    EXPECT_EQ(FailureOf([&] { OpenAt(0x10000, "<RegisterDescription/>"); }),
              (Failure{"Did not find node PayloadSize!", GC_ERR_ERROR}));
    const auto description =
        "<RegisterDescription>" + Integer("PayloadSize", 0x100, {}) + "</RegisterDescription>";
    EXPECT_EQ(FailureOf([&] { OpenAt(0x10000, description); }),
              (Failure{"Did not find node PixelFormat!", GC_ERR_ERROR}));
}

// PixelFormat

TEST_F(RemotePortOverrides, GiveThePixelFormatAfterProcessing)
{
    Open();
    processor->output[Component::Image2D] = PixelFormat::RGB8;
    EXPECT_EQ(Read(pixelFormatAddress, 4), BytesOf(uint32_t{0x02180014}));
    EXPECT_THAT(device.reads, IsEmpty());
}

TEST_F(RemotePortOverrides, GiveThePixelFormatInPayloadSizeOrder)
{
    payloadSize.order = "BigEndian";
    Open();
    processor->output[Component::Image2D] = PixelFormat::RGB8;
    EXPECT_EQ(Read(pixelFormatAddress, 4), Reversed(BytesOf(uint32_t{0x02180014})));
}

TEST_F(RemotePortOverrides, DoNotGiveThePixelFormatInItsOwnByteOrder)
{
    pixelFormat = {.length = 8, .order = "BigEndian"};
    Open();
    processor->output[Component::Image2D] = PixelFormat::RGB8;
    EXPECT_EQ(Read(pixelFormatAddress, 8), BytesOf(uint64_t{0x02180014}));
}

TEST_F(RemotePortOverrides, RefuseAPixelFormatInAShortRegister)
{
    pixelFormat.length = 2;
    Open();
    EXPECT_EQ(FailureOf([&] { Read(pixelFormatAddress, 2); }),
              (Failure{"Value will not fit in the buffer and would be truncated!", GC_ERR_ERROR}));
}

TEST_F(RemotePortOverrides, GiveTheDeviceTheInputForThePixelFormat)
{
    Open();
    processor->calls->Clear();
    processor->input = PixelFormat::Mono12p;
    WriteBytes(pixelFormatAddress, BytesOf(uint32_t{0x02180014}));
    EXPECT_THAT(processor->calls->All(), ElementsAre("output of Image2D is 2180014"));
    EXPECT_THAT(writes,
                ElementsAre(Write{pixelFormatAddress, BytesOf(static_cast<uint32_t>(PixelFormat::Mono12p))}));
    EXPECT_EQ(Read(pixelFormatAddress, 4), BytesOf(uint32_t{0x02180014}));
}

TEST_F(RemotePortOverrides, TakeAPixelFormatOfTheMakerUnsigned)
{
    Open();
    processor->calls->Clear();
    WriteBytes(pixelFormatAddress, BytesOf(uint32_t{0xFFFFFFFF}));
    EXPECT_THAT(processor->calls->All(), ElementsAre("output of Image2D is FFFFFFFF"));
}

TEST_F(RemotePortOverrides, WriteTheUpperHalfToAShortBigEndianOne)
{
    payloadSize.order = "BigEndian";
    Open();
    processor->calls->Clear();
    WriteBytes(pixelFormatAddress, Reversed(BytesOf(uint32_t{0x02180014})));
    EXPECT_THAT(processor->calls->All(), ElementsAre("output of Image2D is 2180014"));
    EXPECT_THAT(writes, ElementsAre(Write{pixelFormatAddress, {0, 0, 0, 0}}));
}

TEST_F(RemotePortOverrides, WriteTheSecondHalfOfALongFormatUnchanged)
{
    pixelFormat.length = 8;
    Open();
    WriteBytes(pixelFormatAddress, BytesOf(uint64_t{0x1122334402180014}));
    EXPECT_THAT(writes, ElementsAre(Write{pixelFormatAddress, BytesOf(uint64_t{0x01080001})},
                                    Write{pixelFormatAddress + 4, BytesOf(uint32_t{0x11223344})}));
}

TEST_F(RemotePortOverrides, TakeTheFirstHalfOfALongBigEndianFormat)
{
    payloadSize.order = "BigEndian";
    pixelFormat.length = 8;
    Open();
    processor->calls->Clear();
    WriteBytes(pixelFormatAddress, Reversed(BytesOf(uint64_t{0x0218001411223344})));
    EXPECT_THAT(processor->calls->All(), ElementsAre("output of Image2D is 2180014"));
    EXPECT_THAT(writes, ElementsAre(Write{pixelFormatAddress, Reversed(BytesOf(uint64_t{0x01080001}))},
                                    Write{pixelFormatAddress + 4, Reversed(BytesOf(uint32_t{0x11223344}))}));
}

TEST_F(RemotePortOverrides, DoNotReadBeyondAShortPixelFormat)
{
    pixelFormat.length = 2;
    Open();
    processor->calls->Clear();
    WriteBytes(pixelFormatAddress, {0x14, 0x00});
    EXPECT_THAT(processor->calls->All(), ElementsAre("output of Image2D is 14"));
    EXPECT_THAT(writes, ElementsAre(Write{pixelFormatAddress, {0x01, 0x00}}));
}

TEST_F(RemotePortOverrides, DoNotWriteAFormatThatTheProcessorRefuses)
{
    Open();
    processor->onSetOutput = [](Component, PixelFormat)
    { throw GenTLException("not while running", GC_ERR_RESOURCE_IN_USE); };
    EXPECT_EQ(FailureOf([&] { WriteBytes(pixelFormatAddress, BytesOf(uint32_t{0x02180014})); }),
              (Failure{"not while running", GC_ERR_RESOURCE_IN_USE}));
    EXPECT_THAT(writes, IsEmpty());
}

// Two features in one register

std::string OneRegister(uint64_t payloadLength, uint64_t formatLength)
{
    return "<RegisterDescription>" + Integer("PayloadSize", 0x180, {.length = payloadLength}) +
           Enumeration("PixelFormat", 0x180, {.length = formatLength}, Entry("Mono8", 0x01080001)) +
           "</RegisterDescription>";
}

TEST_F(RemotePortOverrides, RefuseTwoLengthsOfOneRegister)
{
    EXPECT_EQ(FailureOf([&] { OpenAt(0x10000, OneRegister(8, 4)); }),
              (Failure{"Port callback register size mismatch detected on 384 (PayloadSize)", GC_ERR_ERROR}));
    EXPECT_THAT(writes, IsEmpty());
}

TEST_F(RemotePortOverrides, LetTheLaterFeatureOfARegisterWin)
{
    OpenAt(0x10000, OneRegister(4, 4));
    processor->payloadSize = 4711;
    processor->output[Component::Image2D] = PixelFormat::RGB8;
    EXPECT_EQ(Read(0x180, 4), BytesOf(uint32_t{0x02180014}));
}

} // namespace
} // namespace GenTL::internal
