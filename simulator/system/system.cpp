#include "simulator/system/system.h"

#include "simulator/features/description.h"
#include "simulator/own_path.h"

#include <algorithm>

namespace GenTL::simulator
{

namespace
{

constexpr const char *systemId = "QVR-SIMULATOR";
constexpr const char *systemModel = "Simulated cameras";

using Interfaces = std::span<const InterfaceModel>;

/// The transport of the producer: that of its interfaces if they agree, else Mixed.
Transport TransportOfSystem(Interfaces interfaces)
{
    const auto &first = interfaces.front().transport;
    const bool isOne =
        std::ranges::all_of(interfaces, [&](const InterfaceModel &interface)
                            { return std::string_view(interface.transport.type) == first.type; });
    return isOne ? first : Transport{"Mixed", "Mixed", true};
}

/// The entries of InterfaceType: the transports of the interfaces, each once.
std::vector<EnumEntry> InterfaceTypes(Interfaces interfaces)
{
    std::vector<EnumEntry> entries;
    for (const auto &interface : interfaces)
    {
        const std::string name = interface.transport.featureName;
        if (std::ranges::find(entries, name, &EnumEntry::name) == entries.end())
        {
            entries.push_back({name, static_cast<int64_t>(entries.size())});
        }
    }
    return entries;
}

int64_t InterfaceTypeOf(const InterfaceModel &model, Interfaces interfaces)
{
    const auto types = InterfaceTypes(interfaces);
    return std::ranges::find(types, std::string(model.transport.featureName), &EnumEntry::name)->value;
}

std::string FileName()
{
    return OwnPath().filename();
}

std::vector<Feature> InformationFeatures(Interfaces interfaces)
{
    const char *const category = "SystemInformation";
    const auto text = [&](const char *name, const char *toolTip, size_t length, const std::string &value)
    { return Text(category, name, toolTip, length).Default(value).ReadOnly(); };
    const auto number = [&](const char *name, const char *toolTip, int64_t value)
    { return Integer(category, name, toolTip).Default(value).ReadOnly().Visibility("Expert"); };
    return {
        text("TLID", "Identifier of the producer.", 64, systemId),
        text("TLVendorName", "Name of the producer's vendor.", 64, vendorName),
        text("TLModelName", "Name of the producer.", 64, systemModel),
        text("TLVersion", "Version of the producer.", 32, producerVersion),
        text("TLFileName", "File of the producer.", 64, FileName()),
        text("TLDisplayName", "Name to show to a user.", 64, systemModel),
        text("TLPath", "Path of the producer's file.", 512, OwnPath().string()),
        Enumeration(category, "TLType", "Transport layer type.",
                    {{TransportOfSystem(interfaces).featureName, 0}})
            .ReadOnly(),
        number("GenTLVersionMajor", "Major version of GenTL.", 1),
        number("GenTLVersionMinor", "Minor version of GenTL.", 6),
        number("GenTLSFNCVersionMajor", "Major version of the naming convention.", 1),
        number("GenTLSFNCVersionMinor", "Minor version of the naming convention.", 1),
    };
}

std::vector<Feature> InterfaceListFeatures(Interfaces interfaces)
{
    const char *const category = "InterfaceEnumeration";
    const auto selected = [](Feature feature)
    { return std::move(feature).ReadOnly().SelectedBy("InterfaceSelector").Volatile(); };
    const auto number = [&](const char *name, const char *toolTip)
    { return selected(Integer(category, name, toolTip)); };
    return {
        Command(category, "InterfaceUpdateList", "Looks for interfaces."),
        Integer(category, "InterfaceCount", "Interfaces in the list.").ReadOnly().Volatile().VendorSpecific(),
        Integer(category, "InterfaceIndexMax", "Largest value of InterfaceSelector.")
            .ReadOnly()
            .Volatile()
            .VendorSpecific()
            .Visibility("Expert"),
        Integer(category, "InterfaceSelector", "Interface that the following features are about.")
            .Range(0, ValueOf("InterfaceIndexMax")),
        selected(Text(category, "InterfaceID", "Identifier of the interface.", 128)),
        selected(Text(category, "InterfaceDisplayName", "Name to show to a user.", 128)),
        selected(Enumeration(category, "InterfaceType", "Transport layer type.", InterfaceTypes(interfaces))),
        number("NetworkAdapterCount", "Network adapters of the interface.").VendorSpecific(),
        number("GevInterfaceMACAddress", "Hardware address.").Length(8).Representation("MACAddress"),
        number("GevInterfaceDefaultIPAddress", "Address.").Representation("IPV4Address"),
        number("GevInterfaceDefaultSubnetMask", "Subnet mask.").Representation("IPV4Address"),
        number("GevInterfaceDefaultGateway", "Gateway.").Representation("IPV4Address"),
    };
}

std::vector<Feature> SystemFeatures(Interfaces interfaces)
{
    return Joined(InformationFeatures(interfaces), InterfaceListFeatures(interfaces));
}

std::string Description(Interfaces interfaces)
{
    return BuildDescription({"SimulatorSystem", "Simulated cameras", "TLPort",
                             "7B1F0E94-3C2D-4A5B-9E8F-1A2B3C4D5E01", "7B1F0E94-3C2D-4A5B-9E8F-1A2B3C4D5E02"},
                            FeatureLayout(SystemFeatures(interfaces)));
}

} // namespace

Info SystemInfo(TL_INFO_CMD command, Interfaces interfaces)
{
    switch (command)
    {
    case TL_INFO_ID:
        return Info::Text(systemId);
    case TL_INFO_VENDOR:
        return Info::Text(vendorName);
    case TL_INFO_MODEL:
    case TL_INFO_DISPLAYNAME:
        return Info::Text(systemModel);
    case TL_INFO_VERSION:
        return Info::Text(producerVersion);
    case TL_INFO_TLTYPE:
        return Info::Text(TransportOfSystem(interfaces).type);
    case TL_INFO_NAME:
        return Info::Text(FileName());
    case TL_INFO_PATHNAME:
        return Info::Text(OwnPath().string());
    case TL_INFO_CHAR_ENCODING:
        return Info::Int32(TL_CHAR_ENCODING_UTF8);
    case TL_INFO_GENTL_VER_MAJOR:
        return Info::UInt32(1);
    case TL_INFO_GENTL_VER_MINOR:
        return Info::UInt32(6);
    default:
        UnknownCommand(command);
    }
}

System::System(HandleTable &handles, Interfaces interfaces, std::vector<std::unique_ptr<CameraUnit>> &cameras)
    : Module(handles,
             {systemId, systemModel, "TLSystem", "TLPort", producerVersion, "System.xml",
              TransportOfSystem(interfaces).type},
             FeatureLayout(SystemFeatures(interfaces)), Description(interfaces), {EVENT_ERROR, EVENT_MODULE}),
      m_interfaces(interfaces), m_cameras(cameras), m_opened(interfaces.size())
{
    Features().AfterWrite("InterfaceUpdateList", [this] { UpdateList(); });
}

bool System::UpdateList()
{
    // The lock of the features comes first: a write of the update command arrives with that lock held.
    const auto features = Features().Lock();
    const std::lock_guard lock(m_listMutex);
    if (m_listed)
    {
        return false;
    }
    m_listed = true;
    ShowInterfaces();
    return true;
}

void System::ShowInterfaces()
{
    const auto count = static_cast<int64_t>(m_opened.size());
    Features().SetInteger("InterfaceCount", count);
    Features().SetInteger("InterfaceIndexMax", count - 1);
    for (int64_t i = 0; i < count; ++i)
    {
        const auto &model = m_interfaces[static_cast<size_t>(i)];
        Features().SetText({"InterfaceID", i}, model.id);
        Features().SetText({"InterfaceDisplayName", i}, model.displayName);
        Features().SetInteger({"InterfaceType", i}, InterfaceTypeOf(model, m_interfaces));
        Features().SetInteger({"NetworkAdapterCount", i}, 1);
        Features().SetInteger({"GevInterfaceMACAddress", i}, static_cast<int64_t>(model.macAddress));
        Features().SetInteger({"GevInterfaceDefaultIPAddress", i}, model.ipAddress);
        Features().SetInteger({"GevInterfaceDefaultSubnetMask", i}, model.subnetMask);
        Features().SetInteger({"GevInterfaceDefaultGateway", i}, model.gateway);
    }
}

uint32_t System::NumInterfaces() const
{
    const std::lock_guard lock(m_listMutex);
    return m_listed ? static_cast<uint32_t>(m_opened.size()) : 0;
}

std::string System::InterfaceId(uint32_t index) const
{
    if (index >= NumInterfaces())
    {
        throw Error(GC_ERR_INVALID_INDEX, "There is no interface {}", index);
    }
    return m_interfaces[index].id;
}

size_t System::IndexOf(const std::string &id) const
{
    for (size_t i = 0; i < m_opened.size(); ++i)
    {
        if (m_interfaces[i].id == id)
        {
            return i;
        }
    }
    throw Error(GC_ERR_INVALID_ID, "There is no interface {} in the list", id);
}

Info System::GetInterfaceInfo(const std::string &id, INTERFACE_INFO_CMD command) const
{
    const std::lock_guard lock(m_listMutex);
    return InterfaceInfo(m_interfaces[IndexOf(id)], command);
}

void *System::OpenInterface(const std::string &id)
{
    const std::lock_guard lock(m_listMutex);
    const size_t index = IndexOf(id);
    if (const auto open = m_opened[index].lock(); open && !open->IsClosed())
    {
        throw Error(GC_ERR_RESOURCE_IN_USE, "The interface is open already");
    }
    std::vector<CameraUnit *> connected;
    for (const auto &camera : m_cameras)
    {
        if (camera->Model().interfaceIndex == index)
        {
            connected.push_back(camera.get());
        }
    }
    const auto opened = std::make_shared<Interface>(Handles(), m_interfaces[index], std::move(connected));
    m_opened[index] = opened;
    return Adopt(opened);
}

void System::PlugsChanged()
{
    std::vector<std::shared_ptr<Interface>> open;
    {
        const std::lock_guard lock(m_listMutex);
        for (const auto &interface : m_opened)
        {
            open.push_back(interface.lock());
        }
    }
    for (const auto &interface : open)
    {
        if (interface && !interface->IsClosed())
        {
            interface->PlugsChanged();
        }
    }
}

} // namespace GenTL::simulator
