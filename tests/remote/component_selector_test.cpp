#include "override_test.h"
#include "support/log_capture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <vector>

namespace GenTL::internal
{
namespace
{

using namespace overrides;
using testing::Contains;
using testing::ElementsAre;
using testing::SizeIs;

using ComponentSelector = OverrideTest;

TEST_F(ComponentSelector, VisitTheComponentsOfTheDeviceAndReturn)
{
    UseConditions();
    UseSelector();
    device.SetRegister(selectorAddress, confidence);
    device.SetRegister(pixelFormatAddress, 0x01080001);
    proxy->onGCReadPort =
        [this, read = proxy->onGCReadPort](PORT_HANDLE handle, uint64_t address, void *buffer, size_t *size)
    {
        // RGB8 for Range alone, Mono8 for the others.
        const bool isRange = device.registers[selectorAddress] == range;
        device.SetRegister(availableAddress, isRange ? 0b0100 : 0b0011);
        device.SetRegister(implementedAddress, 0b1000);
        return read(handle, address, buffer, size);
    };
    std::vector<Write> selections;
    processor->onSetOutput = [&](Component, PixelFormat) {
        selections.push_back({selectorAddress, DeviceBytes(selectorAddress, 4)});
    };
    Open();
    EXPECT_THAT(processor->calls->All(),
                ElementsAre("inputs of Image2D", "outputs of Image2D", "output of Image2D is 1080001",
                            "inputs of Image3D", "outputs of Image3D", "output of Image3D is 1080001",
                            "inputs of Confidence", "outputs of Confidence",
                            "output of Confidence is 1080001"));
    EXPECT_THAT(selections, ElementsAre(Write{selectorAddress, BytesOf(intensity)},
                                        Write{selectorAddress, BytesOf(range)},
                                        Write{selectorAddress, BytesOf(confidence)}));
    EXPECT_THAT(processor->offered[Component::Image2D], ElementsAre(PixelFormat::Mono8));
    EXPECT_THAT(processor->offered[Component::Image3D], ElementsAre(PixelFormat::RGB8));
    EXPECT_EQ(DeviceBytes(selectorAddress, 4), BytesOf(confidence));
    processor->output[Component::Confidence] = PixelFormat::Mono16;
    EXPECT_EQ(Read(pixelFormatAddress, 4), BytesOf(static_cast<uint32_t>(PixelFormat::Mono16)));
}

TEST_F(ComponentSelector, FollowTheSelectedComponent)
{
    UseSelector();
    device.SetRegister(selectorAddress, confidence);
    Open();
    processor->output = {{Component::Image2D, PixelFormat::Mono8},
                         {Component::Image3D, PixelFormat::Coord3D_C16},
                         {Component::Confidence, PixelFormat::Mono16}};
    const auto format = [&] { return Read(pixelFormatAddress, 4); };
    const auto code = [](PixelFormat value) { return BytesOf(static_cast<uint32_t>(value)); };
    EXPECT_EQ(format(), code(PixelFormat::Mono16));
    Select(range);
    EXPECT_EQ(format(), code(PixelFormat::Coord3D_C16));
    Select(intensity);
    EXPECT_EQ(format(), code(PixelFormat::Mono8));
    EXPECT_THAT(writes, ElementsAre(Write{selectorAddress, BytesOf(range)},
                                    Write{selectorAddress, BytesOf(intensity)}));
    Forget();
    EXPECT_EQ(Read(selectorAddress, 4), BytesOf(intensity));
    EXPECT_THAT(device.reads, ElementsAre(DeviceRead(selectorAddress, 4))) << "a read goes to the device";
}

TEST_F(ComponentSelector, WriteThePixelFormatOfTheSelectedComponent)
{
    UseSelector();
    Open();
    Select(confidence);
    processor->calls->Clear();
    WriteBytes(pixelFormatAddress, BytesOf(uint32_t{0x01100007}));
    EXPECT_THAT(processor->calls->All(), ElementsAre("output of Confidence is 1100007"));
}

TEST_F(ComponentSelector, KeepsItsComponentOnAnUnknownValue)
{
    UseSelector();
    Open();
    processor->output[Component::Confidence] = PixelFormat::Mono16;
    Select(confidence);
    const auto expected = BytesOf(static_cast<uint32_t>(PixelFormat::Mono16));
    Select(99);
    EXPECT_EQ(Read(pixelFormatAddress, 4), expected);
    WriteBytes(selectorAddress, {range, 0});
    EXPECT_EQ(Read(pixelFormatAddress, 4), expected);
    EXPECT_EQ(DeviceBytes(selectorAddress, 4), BytesOf(range)) << "the device got both";
}

TEST_F(ComponentSelector, KeepTheComponentWhenTheDeviceRefusesAnother)
{
    UseSelector();
    Open();
    processor->output[Component::Image2D] = PixelFormat::Mono8;
    proxy->onGCWritePort = [](PORT_HANDLE, uint64_t, const void *, size_t *) -> GC_ERROR
    { LowerFailure(GC_ERR_ACCESS_DENIED, "locked"); };
    EXPECT_EQ(FailureOf([&] { Select(range); }), (Failure{"locked", GC_ERR_ACCESS_DENIED}));
    EXPECT_EQ(Read(pixelFormatAddress, 4), BytesOf(uint32_t{0x01080001}));
}

TEST_F(ComponentSelector, ReadsItsByteOrderAndSign)
{
    UseSelector({.length = 2, .order = "BigEndian"}, Entry("Intensity", 1) + Entry("Range", -2));
    SetRegisters(selectorAddress, {0, 1});
    Open();
    processor->output[Component::Image3D] = PixelFormat::Coord3D_C16;
    WriteBytes(selectorAddress, {0xFF, 0xFE});
    EXPECT_EQ(Read(pixelFormatAddress, 4), BytesOf(static_cast<uint32_t>(PixelFormat::Coord3D_C16)));
    WriteBytes(selectorAddress, {0, 1});
    EXPECT_EQ(Read(pixelFormatAddress, 4), BytesOf(uint32_t{0x01080001}));
}

TEST_F(ComponentSelector, ReadNoMoreOfASelectionThanWasWritten)
{
    UseSelector();
    Open();
    processor->output[Component::Image3D] = PixelFormat::Coord3D_C16;
    proxy->onGCWritePort = [](PORT_HANDLE, uint64_t, const void *, size_t *size)
    {
        *size = 100;
        return GC_ERR_SUCCESS;
    };
    // On the heap and with nothing behind it, where a checker sees a read beyond; and with something that
    // would change the number.
    const auto exact = std::make_unique<uint32_t>(range);
    size_t size = sizeof *exact;
    port->WritePort(selectorAddress, exact.get(), &size);
    EXPECT_EQ(Read(pixelFormatAddress, 4), BytesOf(static_cast<uint32_t>(PixelFormat::Coord3D_C16)));
    const Bytes longer{intensity, 0, 0, 0, 1, 1, 1, 1};
    port->WritePort(selectorAddress, longer.data(), &size);
    EXPECT_EQ(Read(pixelFormatAddress, 4), BytesOf(uint32_t{0x01080001}));
}

TEST_F(ComponentSelector, RefuseAComponentWithoutAMeaning)
{
    UseSelector({}, Entry("Intensity", 1) + Entry("Foo", 2));
    EXPECT_EQ(OpenFailure(), (Failure{"Not implemented component 'Foo'.", GC_ERR_NOT_AVAILABLE}));
    EXPECT_THAT(writes, ElementsAre(Write{selectorAddress, BytesOf(uint32_t{1})})) << "Foo is not tried";
}

TEST_F(ComponentSelector, PassByAComponentThatIsNotAvailable)
{
    extra = Register("NeverReg", 0x140, {});
    UseSelector({}, Entry("Intensity", 1) + Entry("Foo", 2, Available("NeverReg")) +
                        Entry("Range", range, Implemented("NeverReg")));
    EXPECT_NO_THROW(Open());
    EXPECT_THAT(processor->offered, SizeIs(1));
    // It can be selected later all the same.
    processor->output[Component::Image3D] = PixelFormat::Coord3D_C16;
    Select(range);
    EXPECT_EQ(Read(pixelFormatAddress, 4), BytesOf(static_cast<uint32_t>(PixelFormat::Coord3D_C16)));
    Select(2);
    EXPECT_EQ(Read(pixelFormatAddress, 4), BytesOf(uint32_t{0x01080001})) << "any other name is an image";
}

TEST_F(ComponentSelector, SkipsAComponentThatTheDeviceRefuses)
{
    const LogCapture log;
    UseSelector();
    proxy->onGCWritePort =
        [write = proxy->onGCWritePort](PORT_HANDLE handle, uint64_t address, const void *buffer, size_t *size)
    {
        if (address == selectorAddress && *static_cast<const uint8_t *>(buffer) == range)
        {
            LowerFailure(GC_ERR_ACCESS_DENIED, "locked");
        }
        return write(handle, address, buffer, size);
    };
    Open();
    EXPECT_THAT(log.Lines(), ElementsAre("error: Did not find node FileSelector!",
                                         "error: Could not set ComponentSelector to Range, with exception: "
                                         "locked. Original Selector Value: Intensity"));
    EXPECT_EQ(processor->offered.count(Component::Image3D), 0U);
    EXPECT_EQ(processor->offered.count(Component::Confidence), 1U);
    EXPECT_EQ(DeviceBytes(selectorAddress, 4), BytesOf(intensity));
}

TEST_F(ComponentSelector, SkipsAComponentThatTheProcessorRefuses)
{
    const LogCapture log;
    UseSelector();
    device.SetRegister(selectorAddress, confidence);
    processor->onSetOutput = [](Component component, PixelFormat)
    {
        if (component != Component::Confidence)
        {
            throw std::runtime_error("no such format");
        }
    };
    Open();
    EXPECT_THAT(log.Lines(),
                ElementsAre("error: Did not find node FileSelector!",
                            "error: Could not set ComponentSelector to Intensity, with exception: "
                            "no such format. Original Selector Value: Confidence",
                            "error: Could not set ComponentSelector to Range, with exception: "
                            "no such format. Original Selector Value: Confidence"));
    EXPECT_THAT(log.Origins(), ElementsAre("RemotePort::ReadScan3dInfo", "RemotePort::InjectOverrides",
                                           "RemotePort::InjectOverrides"));
    EXPECT_THAT(processor->calls->All(), Contains("output of Confidence is 1080001"));
    EXPECT_EQ(DeviceBytes(selectorAddress, 4), BytesOf(confidence));
    EXPECT_EQ(Read(pixelFormatAddress, 4), BytesOf(uint32_t{0x01080001}));
}

TEST_F(ComponentSelector, FailsWithoutANameOrWhenNotRestored)
{
    const LogCapture log;
    UseSelector();
    device.SetRegister(selectorAddress, 99);
    EXPECT_EQ(OpenFailure(), PlainFailure("Enumeration entry not found!"));
    extra = Register("NeverReg", 0x140, {});
    UseSelector({}, Entry("Intensity", intensity, Available("NeverReg")) + Entry("Range", range));
    EXPECT_EQ(OpenFailure(), PlainFailure("Enumeration entry not available"));
}

TEST_F(ComponentSelector, UnusableMeansA2DCamera)
{
    extra = Register("NeverReg", 0x140, {});
    for (const auto &layout : {Layout{4, "LittleEndian", "RO", ""}, Layout{4, "LittleEndian", "WO", ""},
                               Layout{4, "LittleEndian", "RW", Available("NeverReg")},
                               Layout{4, "LittleEndian", "RW", Implemented("NeverReg")},
                               Layout{4, "LittleEndian", "RW", Available("Nowhere")}})
    {
        UseSelector(layout, Entry("Foo", intensity) + Entry("Range", range));
        processor->calls->Clear();
        EXPECT_NO_THROW(Open()) << layout.access << layout.conditions;
        EXPECT_THAT(processor->calls->All(),
                    ElementsAre("inputs of Image2D", "outputs of Image2D", "output of Image2D is 1080001"));
        processor->output[Component::Image3D] = PixelFormat::Coord3D_C16;
        Select(range);
        EXPECT_EQ(Read(pixelFormatAddress, 4), BytesOf(uint32_t{0x01080001}))
            << "the selector's register is the device's";
    }
}

TEST_F(ComponentSelector, QueriesTheDeviceInItsOrder)
{
    extra =
        Register("FirstReg", 0x140, {}) + Register("SecondReg", 0x144, {}) + Register("ThirdReg", 0x148, {});
    UseSelector({.conditions = Available("FirstReg") + Implemented("SecondReg")},
                Entry("Intensity", intensity, Available("ThirdReg")) + Entry("Range", range));
    device.SetRegister(0x140, 1);
    device.SetRegister(0x144, 1);
    std::vector<uint64_t> asked;
    proxy->onGCReadPort =
        [&, read = proxy->onGCReadPort](PORT_HANDLE handle, uint64_t address, void *buffer, size_t *size)
    {
        const bool isNew = std::ranges::find(asked, address) == asked.end();
        if (isNew && (address == selectorAddress || (address >= 0x140 && address <= 0x148)))
        {
            asked.push_back(address);
        }
        return read(handle, address, buffer, size);
    };
    EXPECT_EQ(OpenFailure(), PlainFailure("Enumeration entry not available")) << "of the selected one";
    EXPECT_THAT(asked, ElementsAre(0x140, 0x144, selectorAddress, 0x148));
}

TEST_F(ComponentSelector, UseASelectorThatIsANumberOfTheDescription)
{
    selector = "<Enumeration Name=\"ComponentSelector\">" + Entry("Intensity", 1) + Entry("Range", range) +
               "<Value>4</Value></Enumeration>";
    Open();
    EXPECT_THAT(processor->offered, SizeIs(2));
    processor->output[Component::Image3D] = PixelFormat::Coord3D_C16;
    EXPECT_EQ(Read(pixelFormatAddress, 4), BytesOf(static_cast<uint32_t>(PixelFormat::Coord3D_C16)));
}

} // namespace
} // namespace GenTL::internal
