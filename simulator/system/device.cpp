#include "simulator/system/device.h"

#include "simulator/cameras/camera.h"
#include "simulator/cameras/network_control.h"
#include "simulator/clock.h"
#include "simulator/features/description.h"
#include "simulator/recordings/recorded_answer.h"
#include "simulator/recordings/recorded_camera.h"

namespace GenTL::simulator
{

namespace
{

constexpr const char *deviceInformation = "DeviceInformation";
constexpr uint64_t deviceLost = 0xA001; ///< an EventID

bool IsOnNetwork(const CameraModel &model)
{
    return model.ipAddress != 0;
}

std::vector<Feature> NetworkFeatures(const CameraModel &model)
{
    return {
        Integer(deviceInformation, "GevDeviceIPAddress", "Address of the camera.")
            .Default(model.ipAddress)
            .ReadOnly()
            .Representation("IPV4Address"),
        Integer(deviceInformation, "GevDeviceMACAddress", "Hardware address of the camera.")
            .Length(8)
            .Default(model.MacAddress())
            .ReadOnly()
            .Representation("MACAddress"),
    };
}

std::vector<Feature> StreamListFeatures()
{
    const char *const streams = "StreamEnumeration";
    return {
        Integer(streams, "StreamSelector", "Stream that StreamID is about.").Range(0, 0),
        Text(streams, "StreamID", "Identifier of the stream.", 32)
            .Default(DataStream::id)
            .ReadOnly()
            .SelectedBy("StreamSelector"),
    };
}

std::vector<Feature> DeviceInformationFeatures(const CameraModel &model)
{
    return {
        Text(deviceInformation, "DeviceID", "Identifier of the device.", 64).Default(model.Id()).ReadOnly(),
        Text(deviceInformation, "DeviceVendorName", "Name of the manufacturer.", 32)
            .Default(model.vendor)
            .ReadOnly(),
        Text(deviceInformation, "DeviceModelName", "Model of the camera.", 32)
            .Default(model.model)
            .ReadOnly(),
        Text(deviceInformation, "DeviceSerialNumber", "Serial number of the camera.", 32)
            .Default(model.SerialNumber())
            .ReadOnly(),
        Text(deviceInformation, "DeviceDisplayName", "Name to show to a user.", 64)
            .Default(model.DisplayName())
            .ReadOnly(),
        Enumeration(deviceInformation, "DeviceType", "Transport layer type.",
                    {{model.transport.featureName, 0}})
            .ReadOnly(),
    };
}

std::vector<Feature> DeviceModuleFeatures(const CameraModel &model)
{
    return Joined(DeviceInformationFeatures(model),
                  IsOnNetwork(model) ? NetworkFeatures(model) : std::vector<Feature>(), StreamListFeatures());
}

std::string DescriptionOf(const CameraModel &model)
{
    return BuildDescription({"SimulatorDevice", "Device of a simulated camera", "DevicePort",
                             "8E7D3B52-4F3E-4B6B-8E1D-0C4A5D6E7F01", "8E7D3B52-4F3E-4B6B-8E1D-0C4A5D6E7F02"},
                            FeatureLayout(DeviceModuleFeatures(model)), {},
                            {{deviceLost, "DeviceLost", "The camera does not answer any more."}});
}

PortIdentity IdentityOf(const CameraModel &model)
{
    return {model.Id(),      model.model,  "TLDevice",          "DevicePort",
            producerVersion, "Device.xml", model.transport.type};
}

DEVICE_ACCESS_STATUS AccessStatus(const Device *open)
{
    if (open == nullptr)
    {
        return DEVICE_ACCESS_STATUS_READWRITE;
    }
    return open->IsReadOnly() ? DEVICE_ACCESS_STATUS_OPEN_READONLY : DEVICE_ACCESS_STATUS_OPEN_READWRITE;
}

std::shared_ptr<StreamedCamera> OpenCamera(HandleTable &handles, CameraUnit &unit, bool writable)
{
    if (unit.Model().recording)
    {
        return std::make_shared<RecordedCamera>(handles, unit.Model(), writable);
    }
    return std::make_shared<Camera>(handles, unit, writable);
}

} // namespace

Device::Device(HandleTable &handles, CameraUnit &unit, DEVICE_ACCESS_FLAGS access)
    : Module(handles, IdentityOf(unit.Model()), FeatureLayout(DeviceModuleFeatures(unit.Model())),
             DescriptionOf(unit.Model()), {EVENT_ERROR, EVENT_REMOTE_DEVICE, EVENT_MODULE}),
      m_unit(unit), m_access(access), m_camera(OpenCamera(handles, unit, access != DEVICE_ACCESS_READONLY))
{
    unit.Retire(nullptr);
    if (IsOnNetwork(unit.Model()))
    {
        Features().SetInteger("GevDeviceIPAddress", unit.Kept(currentAddress, unit.Model().ipAddress));
    }
}

Info Device::GetInfo(DEVICE_INFO_CMD command) const
{
    return DeviceInfo(m_unit, this, command);
}

void *Device::CameraHandle()
{
    const std::lock_guard lock(m_openMutex);
    return m_camera->Handle() != nullptr ? m_camera->Handle() : Adopt(m_camera);
}

void Device::Lose()
{
    m_camera->Unplug();
    Fire(EVENT_ERROR, {static_cast<uint64_t>(GC_ERR_IO), "The camera was unplugged"});
    Fire(EVENT_MODULE, NumbersNotice(deviceLost, {Nanoseconds()}));
}

void *Device::OpenStream(const std::string &id)
{
    if (id != DataStream::id)
    {
        throw Error(GC_ERR_INVALID_ID, "There is no stream {}", id);
    }
    if (IsReadOnly())
    {
        throw Error(GC_ERR_ACCESS_DENIED, "The device was opened for reading only");
    }
    const std::lock_guard lock(m_openMutex);
    if (const auto open = m_stream.lock(); open && !open->IsClosed())
    {
        throw Error(GC_ERR_RESOURCE_IN_USE, "The stream is open already");
    }
    const auto stream = std::make_shared<DataStream>(Handles(), m_camera);
    m_stream = stream;
    return Adopt(stream);
}

void Device::OnClose()
{
    const std::lock_guard lock(m_openMutex);
    // Keeps the closed stream alive: another thread of the consumer may still read a frame in its memory.
    m_unit.Retire(m_stream.lock());
}

Info DeviceInfo(const CameraUnit &unit, const Device *open, DEVICE_INFO_CMD command)
{
    const auto &model = unit.Model();
    if (model.recording && command != DEVICE_INFO_ACCESS_STATUS)
    {
        return RecordedAnswer(model.recording->Device().deviceInfos, command);
    }
    switch (command)
    {
    case DEVICE_INFO_ID:
        return Info::Text(model.Id());
    case DEVICE_INFO_VENDOR:
        return Info::Text(model.vendor);
    case DEVICE_INFO_MODEL:
        return Info::Text(model.model);
    case DEVICE_INFO_TLTYPE:
        return Info::Text(model.transport.type);
    case DEVICE_INFO_DISPLAYNAME:
        return Info::Text(model.DisplayName());
    case DEVICE_INFO_ACCESS_STATUS:
        return Info::Int32(AccessStatus(open));
    case DEVICE_INFO_USER_DEFINED_NAME:
        return Info::Text(unit.UserName());
    case DEVICE_INFO_SERIAL_NUMBER:
        return Info::Text(model.SerialNumber());
    case DEVICE_INFO_VERSION:
        return Info::Text(cameraVersion);
    case DEVICE_INFO_TIMESTAMP_FREQUENCY:
        return Info::UInt64(model.ticksPerSecond);
    default:
        UnknownCommand(command);
    }
}

} // namespace GenTL::simulator
