#include "simulator/cameras/wide_cameras.h"

namespace GenTL::simulator
{

namespace
{

constexpr WideRegister wideIdentity[] = {
    {"DeviceVendorName", 0x200}, {"DeviceModelName", 0x220},       {"DeviceManufacturerInfo", 0x240},
    {"DeviceVersion", 0x280},    {"DeviceFirmwareVersion", 0x2A0}, {"DeviceSerialNumber", 0x2C0},
    {"DeviceUserID", 0x2E0},
};

} // namespace

std::vector<FixedRegister> FixedRegisters(std::span<const WideRegister> places)
{
    std::vector<FixedRegister> registers;
    for (const auto &table : {std::span<const WideRegister>(wideIdentity), places})
    {
        for (const auto &place : table)
        {
            registers.push_back({place.feature, place.address, {.bigEndian = place.bigEndian}});
        }
    }
    return registers;
}

} // namespace GenTL::simulator
