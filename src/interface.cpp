#include "interface.h"

#include "device.h"
#include "instance_manager.h"
#include "modules/list_update.h"
#include "modules/lower_url.h"
#include "utils/checks.h"
#include "utils/info.h"
#include "utils/lower_info.h"
#include "utils/try.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <utility>

namespace GenTL::internal
{

namespace
{

std::string AccessFlagName(DEVICE_ACCESS_FLAGS flags)
{
    static constexpr std::array names{"DEVICE_ACCESS_UNKNOWN", "DEVICE_ACCESS_NONE", "DEVICE_ACCESS_READONLY",
                                      "DEVICE_ACCESS_CONTROL", "DEVICE_ACCESS_EXCLUSIVE"};
    const bool isNamed = flags >= DEVICE_ACCESS_UNKNOWN && flags <= DEVICE_ACCESS_EXCLUSIVE;
    return isNamed ? names.at(static_cast<size_t>(flags)) : std::to_string(flags);
}

/// The name without its prefix, as in "CONTROL".
std::string ShortAccessName(DEVICE_ACCESS_FLAGS flags)
{
    constexpr std::string_view prefix = "DEVICE_ACCESS_";
    const auto name = AccessFlagName(flags);
    return name.starts_with(prefix) ? name.substr(prefix.size()) : name;
}

void CheckAccessFlags(DEVICE_ACCESS_FLAGS flags, bool passesReadOnly)
{
    if (flags < DEVICE_ACCESS_NONE || flags > DEVICE_ACCESS_EXCLUSIVE)
    {
        throw GenTLException(fmt::format("Invalid Access type {}", AccessFlagName(flags)),
                             GC_ERR_INVALID_PARAMETER);
    }
    if (flags == DEVICE_ACCESS_READONLY && !passesReadOnly)
    {
        throw GenTLException(fmt::format("Access type {} not implemented", AccessFlagName(flags)),
                             GC_ERR_NOT_IMPLEMENTED);
    }
}

/// The error text for a device that its interface does not know.
std::string UnknownDevice(IGenTLProxy &proxy, IF_HANDLE interface, const char *device)
{
    const auto id = utils::Try(
        [&]
        {
            return utils::ReadText([&](INFO_DATATYPE *type, void *buffer, size_t *size)
                                   { proxy.IFGetInfo(interface, INTERFACE_INFO_ID, type, buffer, size); });
        });
    const auto known = utils::Try(
        [&]
        {
            uint32_t count = 0;
            proxy.IFGetNumDevices(interface, &count);
            return count;
        });
    return fmt::format("No device \"{}\" on interface \"{}\" ({} known).", device, id.value_or(""),
                       known.value_or(0));
}

} // namespace

bool IsAdmittedModel(std::string model)
{
    std::ranges::transform(model, model.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return model.starts_with("ovra");
}

Interface::Interface(InstanceManager *manager, std::shared_ptr<IGenTLProxy> proxy, IF_HANDLE lowerHandle,
                     TL_HANDLE parentSystem, bool filterDevices, const Profile &profile,
                     const Assembly &assembly)
    : ProxyModule(std::move(proxy), lowerHandle), m_manager(manager), m_parentSystem(parentSystem),
      m_filterDevices(filterDevices), m_profile(profile), m_assembly(assembly)
{
}

Interface::~Interface()
{
    CloseQuietly([this] { Proxy()->IFClose(GetLowerHandle()); });
}

void Interface::GetPortURLInfo(uint32_t iURLIndex, URL_INFO_CMD iInfoCmd, INFO_DATATYPE *piType,
                               void *pBuffer, size_t *piSize)
{
    m_profile.lower.readsUrlText ? GetLowerUrlInfo(*this, iURLIndex, iInfoCmd, piType, pBuffer, piSize)
                                 : ProxyModule::GetPortURLInfo(iURLIndex, iInfoCmd, piType, pBuffer, piSize);
}

void Interface::IFGetInfo(INTERFACE_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer, size_t *piSize)
{
    Proxy()->IFGetInfo(GetLowerHandle(), iInfoCmd, piType, pBuffer, piSize);
}

void Interface::IFGetNumDevices(uint32_t *piNumDevices)
{
    Proxy()->IFGetNumDevices(GetLowerHandle(), piNumDevices);
}

void Interface::IFGetDeviceID(uint32_t iIndex, char *sIDeviceID, size_t *piSize)
{
    Proxy()->IFGetDeviceID(GetLowerHandle(), iIndex, sIDeviceID, piSize);
}

void Interface::IFUpdateDeviceList(bool8_t *pbChanged, uint64_t iTimeout)
{
    Proxy()->IFUpdateDeviceList(GetLowerHandle(), pbChanged, iTimeout);
}

void Interface::IFGetDeviceInfo(const char *sDeviceID, DEVICE_INFO_CMD iInfoCmd, INFO_DATATYPE *piType,
                                void *pBuffer, size_t *piSize)
{
    const bool isAdmitted = !m_filterDevices || IsAdmitted(sDeviceID);
    if (iInfoCmd == DEVICE_INFO_ACCESS_STATUS && !isAdmitted)
    {
        return utils::WriteInfo(utils::Info::Int32(DEVICE_ACCESS_STATUS_NOACCESS), piType, pBuffer, piSize);
    }
    CallWithId([&]
               { Proxy()->IFGetDeviceInfo(GetLowerHandle(), sDeviceID, iInfoCmd, piType, pBuffer, piSize); });
}

template <typename Call>
void Interface::CallWithId(Call call)
{
    if (!m_profile.lower.updatesLists)
    {
        return call();
    }
    CallWithKnownId(call, [this] { IFUpdateDeviceList(nullptr, listUpdateMs); });
}

void Interface::IFOpenDevice(const char *sDeviceID, DEVICE_ACCESS_FLAGS iOpenFlags, DEV_HANDLE *phDevice)
{
    utils::CheckNotNull({{"phDevice", phDevice}, {"sDeviceID", sDeviceID}});
    if (m_filterDevices && !IsAdmitted(sDeviceID))
    {
        throw GenTLException("Access denied!", GC_ERR_ACCESS_DENIED);
    }
    CheckAccessFlags(iOpenFlags, m_profile.admission.passesReadOnly);
    auto *const lowerDevice = OpenLowerDevice(sDeviceID, iOpenFlags);
    const auto device = std::make_shared<Device>(m_manager, Proxy(), lowerDevice, m_handle, m_profile,
                                                 m_assembly, iOpenFlags);
    const auto handle = m_manager->devices.Add(device);
    *phDevice = handle;
    device->SetHandle(handle);
}

DEV_HANDLE Interface::OpenLowerDevice(const char *sDeviceID, DEVICE_ACCESS_FLAGS iOpenFlags)
{
    try
    {
        DEV_HANDLE device = nullptr;
        CallWithId([&] { Proxy()->IFOpenDevice(GetLowerHandle(), sDeviceID, iOpenFlags, &device); });
        return device;
    }
    catch (const GenTLException &exception)
    {
        if (!m_profile.admission.explainsFailures)
        {
            throw;
        }
        if (exception.Code() == GC_ERR_INVALID_ID)
        {
            throw GenTLException(UnknownDevice(*Proxy(), GetLowerHandle(), sDeviceID), GC_ERR_INVALID_ID);
        }
        const std::string_view advice =
            exception.Code() == GC_ERR_ACCESS_DENIED || exception.Code() == GC_ERR_RESOURCE_IN_USE
                ? " Another program may have it."
                : "";
        throw GenTLException(fmt::format("Cannot open \"{}\" for {}: {} ({}).{}", sDeviceID,
                                         ShortAccessName(iOpenFlags), exception.what(), exception.Code(),
                                         advice),
                             exception.Code());
    }
}

bool Interface::IsAdmitted(const char *sDeviceID)
{
    return IsAdmittedModel(utils::ReadText(
        [&](INFO_DATATYPE *type, void *buffer, size_t *size)
        { Proxy()->IFGetDeviceInfo(GetLowerHandle(), sDeviceID, DEVICE_INFO_MODEL, type, buffer, size); }));
}

} // namespace GenTL::internal
