#pragma once

#include "remoteport.h"

#include "support/failure.h"
#include "support/fake_gentl_proxy.h"
#include "support/fake_processor.h"
#include "support/fake_remote_device.h"
#include "support/handles.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

/// A device whose features are overridden, and what the tests about them share.
namespace GenTL::internal::overrides
{

using tarn::common::PixelFormat;
using Bytes = std::vector<uint8_t>;

inline constexpr uint64_t widthAddress = 0x100;
inline constexpr uint64_t heightAddress = 0x104;
inline constexpr uint64_t pixelFormatAddress = 0x108;
inline constexpr uint64_t payloadSizeAddress = 0x110;
inline constexpr uint64_t selectorAddress = 0x118;
inline constexpr uint64_t availableAddress = 0x120;
inline constexpr uint64_t implementedAddress = 0x130;

inline constexpr uint32_t intensity = 1;
inline constexpr uint32_t range = 4;
inline constexpr uint32_t confidence = 6;

/// How a register of the description looks.
struct Layout
{
    uint64_t length = 4;
    std::string order = "LittleEndian";
    std::string access = "RW";
    std::string conditions{}; ///< pIsAvailable and pIsImplemented
};

inline std::string Register(const std::string &name, uint64_t address, const Layout &layout)
{
    return fmt::format("<IntReg Name=\"{}\">{}<Address>0x{:X}</Address><Length>{}</Length>"
                       "<AccessMode>{}</AccessMode><pPort>Device</pPort><Sign>Unsigned</Sign>"
                       "<Endianess>{}</Endianess></IntReg>",
                       name, layout.conditions, address, layout.length, layout.access, layout.order);
}

inline std::string Integer(const std::string &name, uint64_t address, const Layout &layout)
{
    return fmt::format("<Integer Name=\"{0}\"><pValue>{0}Reg</pValue></Integer>{1}", name,
                       Register(name + "Reg", address, layout));
}

inline std::string Entry(const std::string &name, int64_t value, const std::string &conditions = "")
{
    return fmt::format("<EnumEntry Name=\"{}\">{}<Value>{}</Value></EnumEntry>", name, conditions, value);
}

inline std::string Enumeration(const std::string &name, uint64_t address, const Layout &layout,
                               const std::string &entries)
{
    return fmt::format("<Enumeration Name=\"{0}\">{1}<pValue>{0}Reg</pValue></Enumeration>{2}", name, entries,
                       Register(name + "Reg", address, layout));
}

inline std::string Available(const std::string &name)
{
    return "<pIsAvailable>" + name + "</pIsAvailable>";
}

inline std::string Implemented(const std::string &name)
{
    return "<pIsImplemented>" + name + "</pIsImplemented>";
}

/// A bit of a register.
inline std::string BitOf(const std::string &name, const std::string &reg, int bit)
{
    return fmt::format("<IntSwissKnife Name=\"{}\"><pVariable Name=\"VAR\">{}</pVariable>"
                       "<Formula>(VAR &gt;&gt; {}) &amp; 1</Formula></IntSwissKnife>",
                       name, reg, bit);
}

template <typename T>
Bytes BytesOf(T value)
{
    Bytes bytes(sizeof value);
    std::memcpy(bytes.data(), &value, sizeof value);
    return bytes;
}

inline Bytes Reversed(Bytes bytes)
{
    std::ranges::reverse(bytes);
    return bytes;
}

/// A processor whose formats a test scripts; it notes what it is asked.
class FormatProcessor final : public FakeProcessor
{
public:
    std::map<Component, PixelFormat> output;
    std::map<Component, std::vector<PixelFormat>> available;
    PixelFormat input = PixelFormat::Mono8; ///< what it wants of the device
    std::function<void(Component, PixelFormat)> onSetOutput;
    std::map<Component, std::vector<PixelFormat>> offered;

    void SetAvailableInputFormats(Component component, const PixelFormat *formats, size_t count) override
    {
        calls->Add(fmt::format("inputs of {}", component));
        offered[component].assign(formats, formats + count);
    }
    PixelFormat OutputPixelFormat(Component component) override { return output[component]; }
    PixelFormat SetOutputPixelFormat(Component component, PixelFormat format) override
    {
        calls->Add(fmt::format("output of {} is {:X}", component, static_cast<int64_t>(format)));
        if (onSetOutput)
        {
            onSetOutput(component, format);
        }
        output[component] = format;
        return input;
    }
    std::vector<PixelFormat> AvailableOutputPixelFormats(Component component) override
    {
        calls->Add(fmt::format("outputs of {}", component));
        return available[component];
    }
};

/// A remote port over a device of which a test changes one or the other node before it opens the port.
class OverrideTest : public testing::Test
{
protected:
    struct Write
    {
        uint64_t address{};
        Bytes bytes;

        friend bool operator==(const Write &, const Write &) = default;
        friend std::ostream &operator<<(std::ostream &stream, const Write &write)
        {
            return stream << std::hex << write.address << ": " << testing::PrintToString(write.bytes);
        }
    };

    Layout payloadSize;
    Layout pixelFormat;
    Layout availability;
    std::string pixelFormats = Entry("Mono8", 0x01080001);
    std::string selector; ///< no ComponentSelector
    std::string extra;
    FakeRemoteDevice device;
    std::vector<Write> writes; ///< that reached the device
    std::shared_ptr<FakeGenTLProxy> proxy = std::make_shared<FakeGenTLProxy>();
    std::shared_ptr<FormatProcessor> processor = std::make_shared<FormatProcessor>();
    std::unique_ptr<RemotePort> port;

    OverrideTest()
    {
        device.Serve(*proxy);
        device.SetRegister(pixelFormatAddress, 0x01080001);
        proxy->onGCWritePort = [this, write = proxy->onGCWritePort](PORT_HANDLE handle, uint64_t address,
                                                                    const void *buffer, size_t *size)
        {
            const auto *bytes = static_cast<const uint8_t *>(buffer);
            writes.push_back({address, Bytes(bytes, bytes + *size)});
            return *size != 0 ? write(handle, address, buffer, size) : GC_ERR_SUCCESS;
        };
    }

    /// Registers whose bits decide on Mono8 (bits 0 and 1) and RGB8 (bits 2 and 3).
    void UseConditions()
    {
        pixelFormats = Entry("Mono8", 0x01080001, Available("Bit0") + Implemented("Bit1")) +
                       Entry("RGB8", 0x02180014, Available("Bit2") + Implemented("Other3"));
        for (int bit = 0; bit < 4; ++bit)
        {
            extra += BitOf(fmt::format("Bit{}", bit), "AvailableReg", bit);
        }
        extra += Register("AvailableReg", availableAddress, availability) +
                 Register("ImplementedReg", implementedAddress, {}) + BitOf("Other3", "ImplementedReg", 3);
    }

    void UseSelector(const Layout &layout = {}, const std::string &entries = Entry("Intensity", intensity) +
                                                                             Entry("Range", range) +
                                                                             Entry("Confidence", confidence))
    {
        selector = Enumeration("ComponentSelector", selectorAddress, layout, entries);
        device.SetRegister(selectorAddress, intensity);
    }

    std::string Description() const
    {
        return "<RegisterDescription>" + Integer("Width", widthAddress, {}) +
               Integer("Height", heightAddress, {}) +
               Integer("PayloadSize", payloadSizeAddress, payloadSize) +
               Enumeration("PixelFormat", pixelFormatAddress, pixelFormat, pixelFormats) + selector + extra +
               "<Port Name=\"Device\"/></RegisterDescription>";
    }

    void Open() { OpenAt(0x10000, Description()); }

    void OpenAt(uint64_t address, const std::string &description)
    {
        device.descriptionAddress = address;
        device.description = description;
        device.url = fmt::format("local:///Device.xml;{:X};{:X}", address, description.size());
        port = std::make_unique<RemotePort>(proxy, LowerHandle(0x907), processor);
        Forget();
    }

    Failure OpenFailure()
    {
        return FailureOf([&] { Open(); });
    }

    void Forget()
    {
        device.reads.clear();
        writes.clear();
    }

    Bytes Read(uint64_t address, size_t size)
    {
        Bytes bytes(size, 0xEE);
        const size_t wanted = size;
        port->ReadPort(address, bytes.data(), &size);
        EXPECT_EQ(size, wanted) << "the size stays as it came in";
        return bytes;
    }

    void WriteBytes(uint64_t address, const Bytes &bytes)
    {
        size_t size = bytes.size();
        port->WritePort(address, bytes.data(), &size);
        EXPECT_EQ(size, bytes.size()) << "the size stays as it came in";
    }

    void Select(uint32_t component) { WriteBytes(selectorAddress, BytesOf(component)); }

    void SetRegisters(uint64_t address, const Bytes &bytes)
    {
        std::ranges::copy(bytes, device.registers.begin() + static_cast<ptrdiff_t>(address));
    }

    Bytes DeviceBytes(uint64_t address, size_t size) const
    {
        const auto first = device.registers.begin() + static_cast<ptrdiff_t>(address);
        return {first, first + static_cast<ptrdiff_t>(size)};
    }

    /// Answers reads outside of the registers and the description, too: with this byte.
    void FillTheAddressSpace(uint8_t byte)
    {
        proxy->onGCReadPort = [this, byte, read = proxy->onGCReadPort](PORT_HANDLE handle, uint64_t address,
                                                                       void *buffer, size_t *size) -> GC_ERROR
        {
            if (address < device.registers.size() ||
                address - device.descriptionAddress < device.description.size())
            {
                return read(handle, address, buffer, size);
            }
            device.reads.push_back({handle, address, *size});
            std::memset(buffer, byte, *size);
            return GC_ERR_SUCCESS;
        };
    }

    FakeRemoteDevice::Access DeviceRead(uint64_t address, size_t size) const
    {
        return {LowerHandle(0x907), address, size};
    }
};

} // namespace GenTL::internal::overrides
