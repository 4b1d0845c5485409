#include "modules/system_features.h"

#include "system.h"

namespace GenTL::internal
{

namespace
{

using nodemap::RegisterDefinition;
using nodemap::RegisterKind;

constexpr int32_t readOnly = static_cast<int32_t>(nodemap::RegisterAccess::ReadOnly);
constexpr int32_t readWrite = static_cast<int32_t>(nodemap::RegisterAccess::ReadWrite);

System &Owner(void *context)
{
    return *static_cast<System *>(context);
}

RegisterDefinition Text(std::string_view name, uint64_t address, uint64_t size)
{
    return {.Name = name,
            .Size = size,
            .Address = address,
            .Kind = RegisterKind::String,
            .Access = readOnly,
            .InitialValue = std::string()};
}

RegisterDefinition Number(std::string_view name, uint64_t address, int32_t access = readOnly)
{
    return {.Name = name, .Size = 4, .Address = address, .Access = access, .InitialValue = int32_t{0}};
}

RegisterDefinition ReadThrough(RegisterDefinition definition)
{
    definition.OnRead = [name = std::string(definition.Name)](std::span<uint8_t> data, void *context)
    { Owner(context).ReadThrough(name, data); };
    return definition;
}

RegisterDefinition WriteThrough(RegisterDefinition definition)
{
    definition.OnWrite = [name = std::string(definition.Name)](std::span<uint8_t> data, void *context)
    { Owner(context).WriteThrough(name, data); };
    return definition;
}

RegisterDefinition GigEOnly(RegisterDefinition definition)
{
    definition.Used = false;
    return definition;
}

RegisterDefinition UpdateCommand(RegisterDefinition definition)
{
    definition.OnWrite = [](std::span<uint8_t> data, void *context)
    { Owner(context).WriteInterfaceUpdateList(data); };
    return definition;
}

RegisterDefinition MacAddress(std::string_view name, uint64_t address)
{
    return {.Name = name, .Size = 8, .Address = address, .Access = readOnly, .InitialValue = int64_t{0}};
}

const std::array<RegisterDefinition, 24> table{
    Text("TLID", system_registers::tlId, 64),
    Text("TLVendorName", system_registers::tlVendorName, 64),
    Text("TLModelName", system_registers::tlModelName, 64),
    Text("TLVersion", system_registers::tlVersion, 32),
    Text("TLFileName", system_registers::tlFileName, 64),
    Text("TLDisplayName", system_registers::tlDisplayName, 64),
    Text("TLPath", system_registers::tlPath, 512),
    Number("TLType", system_registers::tlType),
    Number("GenTLVersionMajor", system_registers::genTLVersionMajor),
    Number("GenTLVersionMinor", system_registers::genTLVersionMinor),
    Number("GenTLSFNCVersionMajor", system_registers::genTLSFNCVersionMajor),
    Number("GenTLSFNCVersionMinor", system_registers::genTLSFNCVersionMinor),
    UpdateCommand(Number("InterfaceUpdateList", system_registers::interfaceUpdateList, readWrite)),
    Number("InterfaceUpdateTimeout", system_registers::interfaceUpdateTimeout, readWrite),
    ReadThrough(Number("InterfaceCount", 0x37C)),
    WriteThrough(ReadThrough(Number("InterfaceSelector", 0x380, readWrite))),
    ReadThrough(Text("InterfaceID", 0x384, 128)),
    ReadThrough(Text("InterfaceDisplayName", 0x404, 128)),
    ReadThrough(Number("InterfaceType", 0x484)),
    GigEOnly(ReadThrough(Number("NetworkAdapterCount", 0x488))),
    GigEOnly(ReadThrough(MacAddress("GevInterfaceMACAddress", 0x48C))),
    GigEOnly(ReadThrough(Number("GevInterfaceDefaultIPAddress", 0x494))),
    GigEOnly(ReadThrough(Number("GevInterfaceDefaultSubnetMask", 0x498))),
    GigEOnly(ReadThrough(Number("GevInterfaceDefaultGateway", 0x49C)))};

} // namespace

std::span<const RegisterDefinition> SystemFeatures()
{
    return table;
}

} // namespace GenTL::internal
