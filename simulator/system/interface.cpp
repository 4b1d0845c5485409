#include "simulator/system/interface.h"

#include "simulator/cameras/network_control.h"
#include "simulator/clock.h"
#include "simulator/features/description.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace GenTL::simulator
{

namespace
{

constexpr uint64_t deviceListChanged = 0xA002; ///< an EventID

bool IsOnNetwork(const InterfaceModel &model)
{
    return model.ipAddress != 0;
}

/// A feature that an address is forced by, and that of the camera that shows it.
struct ForcedFeature
{
    const char *name;
    const char *toolTip;
    const char *ofCamera;
};

constexpr ForcedFeature forcedFeatures[] = {
    {"GevDeviceForceIPAddress", "Address for GevDeviceForceIP.", currentAddress},
    {"GevDeviceForceSubnetMask", "Subnet mask for GevDeviceForceIP.", currentMask},
    {"GevDeviceForceGateway", "Gateway for GevDeviceForceIP.", currentGateway},
};

std::vector<Feature> ForceFeatures(const char *category)
{
    std::vector<Feature> features;
    for (const auto &[name, toolTip, ofCamera] : forcedFeatures)
    {
        features.push_back(
            Integer(category, name, toolTip).SelectedBy("DeviceSelector").Representation("IPV4Address"));
    }
    features.push_back(
        Command(category, "GevDeviceForceIP", "Gives the device another address until it restarts."));
    return features;
}

std::vector<Feature> NetworkFeatures(const char *category)
{
    return {
        Integer(category, "GevDeviceIPAddress", "Address of the device.")
            .ReadOnly()
            .SelectedBy("DeviceSelector")
            .Volatile()
            .Representation("IPV4Address"),
        Integer(category, "GevDeviceMACAddress", "Hardware address of the device.")
            .Length(8)
            .ReadOnly()
            .SelectedBy("DeviceSelector")
            .Volatile()
            .Representation("MACAddress"),
    };
}

std::vector<Feature> InterfaceFeatures(const InterfaceModel &model)
{
    const char *const information = "InterfaceInformation";
    const char *const devices = "DeviceEnumeration";
    const auto ofDevice = [&](const char *name, const char *toolTip, size_t length)
    { return Text(devices, name, toolTip, length).ReadOnly().SelectedBy("DeviceSelector").Volatile(); };
    std::vector<Feature> features{
        Text(information, "InterfaceID", "Identifier of the interface.", 64).Default(model.id).ReadOnly(),
        Text(information, "InterfaceDisplayName", "Name to show to a user.", 64)
            .Default(model.displayName)
            .ReadOnly(),
        Enumeration(information, "InterfaceType", "Transport layer type.", {{model.transport.featureName, 0}})
            .ReadOnly(),
        Command(devices, "DeviceUpdateList", "Looks for devices."),
        Integer(devices, "DeviceCount", "Devices in the list.").ReadOnly().Volatile().VendorSpecific(),
        Integer(devices, "DeviceIndexMax", "Largest value of DeviceSelector.")
            .ReadOnly()
            .Volatile()
            .VendorSpecific()
            .Visibility("Expert"),
        Integer(devices, "DeviceSelector", "Device that the following features are about.")
            .Range(0, ValueOf("DeviceIndexMax")),
        ofDevice("DeviceID", "Identifier of the device.", 64),
        ofDevice("DeviceVendorName", "Name of the manufacturer.", 32),
        ofDevice("DeviceModelName", "Model of the device.", 32),
        ofDevice("DeviceSerialNumber", "Serial number of the device.", 32),
    };
    return IsOnNetwork(model) ? Joined(std::move(features), NetworkFeatures(devices), ForceFeatures(devices))
                              : features;
}

std::string Description(const InterfaceModel &model)
{
    return BuildDescription({"SimulatorInterface", "Simulated network interface", "InterfacePort",
                             "4D2A9C61-0B7E-4F0A-BB3C-7F6E5D4C3B01", "4D2A9C61-0B7E-4F0A-BB3C-7F6E5D4C3B02"},
                            FeatureLayout(InterfaceFeatures(model)), {},
                            {{deviceListChanged, "DeviceListChanged", "A camera was plugged or unplugged."}});
}

PortIdentity Identity(const InterfaceModel &model)
{
    return {model.id,        model.displayName, "TLInterface",       "InterfacePort",
            producerVersion, "Interface.xml",   model.transport.type};
}

} // namespace

const std::vector<InterfaceModel> &InterfaceCatalog()
{
    static const std::vector<InterfaceModel> catalog = {
        {"SIM-GIGE-0", "Simulated GigE 0", 0x020000000001, 0xC0A80A01, 0xFFFFFF00, 0},
        {"SIM-GIGE-1", "Simulated GigE 1", 0x020000000002, 0xC0A80B01, 0xFFFFFF00, 0},
        {"SIM-WIDE-GIGE", "Simulated GigE of the wide world", 0x020000000003, 0xC0A80C01, 0xFFFFFF00, 0},
        {.id = "SIM-WIDE-USB", .displayName = "Simulated USB of the wide world", .transport = usb3Vision},
    };
    return catalog;
}

std::span<const InterfaceModel> InterfacesWanted()
{
    constexpr size_t interfacesOfTheWideWorld = 2;
    const char *const wanted = std::getenv("QVR_SIM_WIDE");
    const bool isWide = wanted != nullptr && std::string_view(wanted) == "1";
    return std::span(InterfaceCatalog())
        .first(InterfaceCatalog().size() - (isWide ? 0 : interfacesOfTheWideWorld));
}

Info InterfaceInfo(const InterfaceModel &model, INTERFACE_INFO_CMD command)
{
    switch (command)
    {
    case INTERFACE_INFO_ID:
        return Info::Text(model.id);
    case INTERFACE_INFO_DISPLAYNAME:
        return Info::Text(model.displayName);
    case INTERFACE_INFO_TLTYPE:
        return Info::Text(model.transport.type);
    default:
        UnknownCommand(command);
    }
}

Interface::Interface(HandleTable &handles, const InterfaceModel &model, std::vector<CameraUnit *> cameras)
    : Module(handles, Identity(model), FeatureLayout(InterfaceFeatures(model)), Description(model),
             {EVENT_ERROR, EVENT_MODULE}),
      m_model(model), m_cameras(std::move(cameras)), m_opened(m_cameras.size())
{
    Features().AfterWrite("DeviceUpdateList", [this] { UpdateList(); });
    if (IsOnNetwork(m_model))
    {
        Features().AfterWrite("GevDeviceForceIP", [this] { ForceAddress(); });
    }
}

bool Interface::UpdateList()
{
    // The lock of the features comes first: a write of the update command arrives with that lock held.
    const auto features = Features().Lock();
    const std::lock_guard lock(m_listMutex);
    auto plugged = PluggedCameras();
    if (m_isUpdated && plugged == m_listed)
    {
        return false;
    }
    m_isUpdated = true;
    m_listed = std::move(plugged);
    ShowDevices();
    return true;
}

std::vector<size_t> Interface::PluggedCameras() const
{
    std::vector<size_t> plugged;
    for (size_t i = 0; i < m_cameras.size(); ++i)
    {
        if (m_cameras[i]->IsPlugged())
        {
            plugged.push_back(i);
        }
    }
    return plugged;
}

void Interface::ShowDevices()
{
    const auto count = static_cast<int64_t>(m_listed.size());
    Features().SetInteger("DeviceCount", count);
    Features().SetInteger("DeviceIndexMax", std::max<int64_t>(count - 1, 0));
    for (int64_t i = 0; i < count; ++i)
    {
        const auto &camera = *m_cameras[m_listed[static_cast<size_t>(i)]];
        const auto &model = camera.Model();
        Features().SetText({"DeviceID", i}, model.Id());
        Features().SetText({"DeviceVendorName", i}, model.vendor);
        Features().SetText({"DeviceModelName", i}, model.model);
        Features().SetText({"DeviceSerialNumber", i}, model.SerialNumber());
        if (IsOnNetwork(m_model))
        {
            Features().SetInteger({"GevDeviceIPAddress", i}, camera.Kept(currentAddress, model.ipAddress));
            Features().SetInteger({"GevDeviceMACAddress", i}, model.MacAddress());
        }
    }
}

void Interface::ForceAddress()
{
    const std::lock_guard lock(m_listMutex); // behind that of the features, which a write holds
    const auto selected = static_cast<size_t>(Features().Integer("DeviceSelector"));
    if (selected >= m_listed.size())
    {
        throw Error(GC_ERR_NOT_AVAILABLE, "There is no device {}", selected);
    }
    const size_t index = m_listed[selected];
    if (OpenedDevice(index))
    {
        throw Error(GC_ERR_RESOURCE_IN_USE, "The device is open, and keeps its address");
    }
    for (const auto &feature : forcedFeatures)
    {
        m_cameras[index]->Keep(feature.ofCamera, Features().Integer(feature.name));
    }
    ShowDevices();
}

uint32_t Interface::NumDevices() const
{
    const std::lock_guard lock(m_listMutex);
    return static_cast<uint32_t>(m_listed.size());
}

std::string Interface::DeviceId(uint32_t index) const
{
    const std::lock_guard lock(m_listMutex);
    if (index >= m_listed.size())
    {
        throw Error(GC_ERR_INVALID_INDEX, "There is no device {}", index);
    }
    return m_cameras[m_listed[index]]->Model().Id();
}

// Finds a device even before the first update of the list: consumers open a known id right away.
size_t Interface::IndexOf(const std::string &id) const
{
    for (size_t i = 0; i < m_cameras.size(); ++i)
    {
        const bool isKnown = m_cameras[i]->IsPlugged() || std::ranges::find(m_listed, i) != m_listed.end();
        if (isKnown && m_cameras[i]->Model().Id() == id)
        {
            return i;
        }
    }
    throw Error(GC_ERR_INVALID_ID, "There is no device {}", id);
}

std::shared_ptr<Device> Interface::OpenedDevice(size_t index) const
{
    const std::shared_ptr<Device> device = m_opened[index].lock();
    return device && !device->IsClosed() ? device : nullptr;
}

Info Interface::GetDeviceInfo(const std::string &id, DEVICE_INFO_CMD command) const
{
    const std::lock_guard lock(m_listMutex);
    const size_t index = IndexOf(id);
    return DeviceInfo(*m_cameras[index], OpenedDevice(index).get(), command);
}

void *Interface::OpenDevice(const std::string &id, DEVICE_ACCESS_FLAGS access)
{
    const std::lock_guard lock(m_listMutex);
    const size_t index = IndexOf(id);
    if (access < DEVICE_ACCESS_READONLY || access > DEVICE_ACCESS_EXCLUSIVE)
    {
        throw Error(GC_ERR_INVALID_PARAMETER, "A device cannot be opened with access {}", access);
    }
    if (OpenedDevice(index))
    {
        throw Error(GC_ERR_RESOURCE_IN_USE, "The device is open already");
    }
    if (!m_cameras[index]->IsPlugged())
    {
        throw Error(GC_ERR_IO, "The camera does not answer");
    }
    const auto device = std::make_shared<Device>(Handles(), *m_cameras[index], access);
    m_opened[index] = device;
    auto *const handle = Adopt(device);
    device->CameraHandle(); // the camera sends its events through its device from now on
    return handle;
}

void Interface::PlugsChanged()
{
    std::vector<std::shared_ptr<Device>> lost;
    {
        const std::lock_guard lock(m_listMutex);
        for (size_t i = 0; i < m_cameras.size(); ++i)
        {
            const auto device = OpenedDevice(i);
            if (device && !m_cameras[i]->IsPlugged())
            {
                lost.push_back(device);
            }
        }
    }
    for (const auto &device : lost)
    {
        device->Lose();
    }
    Fire(EVENT_MODULE, NumbersNotice(deviceListChanged, {Nanoseconds()}));
}

} // namespace GenTL::simulator
