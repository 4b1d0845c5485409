#pragma once

#include "support/fake_gentl_proxy.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace GenTL::internal
{

/// A description with the nodes that opening a device needs: Width at 0x100, Height at 0x104, PayloadSize at
/// 0x108, each a little-endian register of 4 bytes behind an Integer; PixelFormat at 0x10C, with Mono8 as the
/// only entry.
inline std::string SmallDeviceDescription()
{
    const auto integer = [](std::string_view name, int address)
    {
        return fmt::format("<Integer Name=\"{0}\"><pValue>{0}Reg</pValue></Integer>"
                           "<IntReg Name=\"{0}Reg\"><Address>0x{1:X}</Address><Length>4</Length>"
                           "<AccessMode>RW</AccessMode><pPort>Device</pPort><Sign>Unsigned</Sign>"
                           "<Endianess>LittleEndian</Endianess></IntReg>",
                           name, address);
    };
    return "<RegisterDescription>" + integer("Width", 0x100) + integer("Height", 0x104) +
           integer("PayloadSize", 0x108) + integer("PixelFormatCode", 0x10C) +
           "<Enumeration Name=\"PixelFormat\"><EnumEntry Name=\"Mono8\"><Value>0x01080001</Value>"
           "</EnumEntry><pValue>PixelFormatCodeReg</pValue></Enumeration>"
           "<Port Name=\"Device\"/></RegisterDescription>";
}

/// The port of a lower remote device: registers from address 0 and, elsewhere, a description.
///
/// Serve makes it answer GCGetPortURL, GCReadPort and GCWritePort of a lower producer; it must then outlive
/// the lower producer's use.
struct FakeRemoteDevice
{
    struct Access
    {
        PORT_HANDLE port{};
        uint64_t address{};
        size_t size{};

        friend bool operator==(const Access &, const Access &) = default;
    };

    std::string url;
    std::vector<uint8_t> registers = std::vector<uint8_t>(0x200);
    uint64_t descriptionAddress = 0x10000;
    std::string description;
    std::vector<Access> reads;

    explicit FakeRemoteDevice(std::string document = SmallDeviceDescription())
        : url(fmt::format("local:///Device.xml;10000;{:X}?SchemaVersion=1.1.0", document.size())),
          description(std::move(document))
    {
        SetRegister(0x10C, 0x01080001);
    }

    void SetRegister(size_t address, uint32_t value)
    {
        std::memcpy(registers.data() + address, &value, sizeof value);
    }

    void Serve(FakeGenTLProxy &proxy)
    {
        proxy.onGCGetPortURL = [this](PORT_HANDLE, char *text, size_t *size)
        {
            if (text != nullptr)
            {
                std::memcpy(text, url.c_str(), std::min(*size, url.size() + 1));
            }
            *size = url.size() + 1;
            return GC_ERR_SUCCESS;
        };
        proxy.onGCReadPort = [this](PORT_HANDLE port, uint64_t address, void *buffer, size_t *size)
        {
            reads.push_back({port, address, *size});
            if (address >= descriptionAddress && address - descriptionAddress < description.size())
            {
                const auto offset = static_cast<size_t>(address - descriptionAddress);
                *size = std::min(*size, description.size() - offset);
                std::memcpy(buffer, description.data() + offset, *size);
                return GC_ERR_SUCCESS;
            }
            CheckRange(address, *size);
            std::memcpy(buffer, registers.data() + address, *size);
            return GC_ERR_SUCCESS;
        };
        proxy.onGCWritePort = [this](PORT_HANDLE, uint64_t address, const void *buffer, size_t *size)
        {
            CheckRange(address, *size);
            std::memcpy(registers.data() + address, buffer, *size);
            return GC_ERR_SUCCESS;
        };
    }

private:
    void CheckRange(uint64_t address, size_t size) const
    {
        if (address > registers.size() || size > registers.size() - address)
        {
            LowerFailure(GC_ERR_INVALID_ADDRESS, "no register there");
        }
    }
};

} // namespace GenTL::internal
