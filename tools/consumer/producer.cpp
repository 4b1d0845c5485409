#include "consumer/producer.h"

#include "consumer/device_choice.h"
#include "consumer/info_answers.h"
#include "consumer/producer_files.h"
#include "consumer/text.h"
#include "gentl_proxy.h"
#include "utils/gentl_exception.h"

#include <fmt/format.h>

#include <filesystem>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <utility>

namespace gentlctl
{

using namespace GenTL;
using GenTL::internal::IGenTLProxy;

namespace
{

// How long an update waits for the cameras to answer, in ms.
constexpr uint64_t updateTimeout = 1000;

/// What to do about a producer that cannot be initialised, where its own text does not say it.
std::string AdviceOn(const std::string &file, std::string_view text)
{
    if (text == internal::noProducerError)
    {
        return fmt::format(". It is no GenTL producer; gentlctl check --producer {} tells what it lacks",
                           file);
    }
    // A producer need not have a last error before it is initialised. The proxy producer has none.
    if (text != internal::unknownLowerError)
    {
        return "";
    }
    std::error_code ignored;
    const auto lower = LowerProducerFile(file);
    return !lower.empty() && !std::filesystem::is_regular_file(lower, ignored)
               ? fmt::format(". {} names {}, which is no file", LowerProducerVariable(file), lower)
               : ". With PROXY_TL_LOG_LEVEL=error in the environment the proxy producer logs the reason.";
}

std::shared_ptr<IGenTLProxy> LoadProducer(const std::string &file)
{
    internal::Profile profile;
    profile.texts.loadFailed = "Cannot load {}: {}"; // what is loaded here need not be a CTI
    LoadVisionLibrary();
    try
    {
        return std::make_shared<internal::GenTLProxy>(file, profile);
    }
    catch (const internal::GenTLException &exception)
    {
        throw std::runtime_error(fmt::format("{} cannot be initialised: {} ({}){}", file, exception.what(),
                                             exception.Code(), AdviceOn(file, exception.what())));
    }
}

} // namespace

Producer::Producer(const std::string &file) : m_proxy(LoadProducer(file))
{
    m_proxy->GCInitLib();
    try
    {
        TL_HANDLE system = nullptr;
        m_proxy->TLOpen(&system);
        m_system = Handle(system, [this](void *handle) { m_proxy->TLClose(handle); });
    }
    catch (...)
    {
        internal::CloseQuietly([this] { m_proxy->GCCloseLib(); });
        throw;
    }
}

Producer::~Producer()
{
    m_interfaces.clear();
    m_system = Handle();
    internal::CloseQuietly([this] { m_proxy->GCCloseLib(); });
}

IF_HANDLE Producer::OpenInterface(const std::string &id)
{
    auto &interface = m_interfaces[id];
    if (interface.Get() == nullptr)
    {
        IF_HANDLE handle = nullptr;
        m_proxy->TLOpenInterface(System(), id.c_str(), &handle);
        interface = Handle(handle, [this](void *closing) { m_proxy->IFClose(closing); });
    }
    return interface.Get();
}

std::vector<InterfaceEntry> Producer::Enumerate()
{
    bool8_t changed = 0;
    m_proxy->TLUpdateInterfaceList(System(), &changed, updateTimeout);
    uint32_t count = 0;
    m_proxy->TLGetNumInterfaces(System(), &count);
    std::vector<InterfaceEntry> interfaces;
    for (uint32_t i = 0; i < count; ++i)
    {
        const auto id =
            ReadText([&](char *text, size_t *size) { m_proxy->TLGetInterfaceID(System(), i, text, size); });
        const auto info = [&](INTERFACE_INFO_CMD command)
        {
            return TextAnswer(
                [&, command](INFO_DATATYPE *type, void *buffer, size_t *size)
                { m_proxy->TLGetInterfaceInfo(System(), id.c_str(), command, type, buffer, size); });
        };
        interfaces.push_back(
            {id, info(INTERFACE_INFO_DISPLAYNAME), info(INTERFACE_INFO_TLTYPE), Devices(id)});
    }
    return interfaces;
}

std::vector<DeviceEntry> Producer::Devices(const std::string &interfaceId)
{
    auto *const handle = OpenInterface(interfaceId);
    bool8_t changed = 0;
    m_proxy->IFUpdateDeviceList(handle, &changed, updateTimeout);
    uint32_t count = 0;
    m_proxy->IFGetNumDevices(handle, &count);
    std::vector<DeviceEntry> devices;
    for (uint32_t i = 0; i < count; ++i)
    {
        const auto id =
            ReadText([&](char *text, size_t *size) { m_proxy->IFGetDeviceID(handle, i, text, size); });
        const auto query = [&](DEVICE_INFO_CMD command)
        {
            return [&, command](INFO_DATATYPE *type, void *buffer, size_t *size)
            { m_proxy->IFGetDeviceInfo(handle, id.c_str(), command, type, buffer, size); };
        };
        const auto status = TryNumber(query(DEVICE_INFO_ACCESS_STATUS));
        devices.push_back({interfaceId, id, TextAnswer(query(DEVICE_INFO_VENDOR)),
                           TextAnswer(query(DEVICE_INFO_MODEL)), TextAnswer(query(DEVICE_INFO_SERIAL_NUMBER)),
                           TextAnswer(query(DEVICE_INFO_USER_DEFINED_NAME)),
                           status ? static_cast<int32_t>(*status) : DEVICE_ACCESS_STATUS_UNKNOWN});
    }
    return devices;
}

DeviceEntry Producer::Choose(const std::string &selection)
{
    std::vector<DeviceEntry> devices;
    for (const auto &interface : Enumerate())
    {
        devices.insert(devices.end(), interface.devices.begin(), interface.devices.end());
    }
    return ChooseDevice(devices, selection);
}

} // namespace gentlctl
