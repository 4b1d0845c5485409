#include "gentlctl/producer.h"

#include "gentl_proxy.h"
#include "lower/producer_discovery.h"
#include "utils/environment.h"
#include "utils/gentl_exception.h"

#include <dlfcn.h>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <filesystem>
#include <sstream>
#include <stdexcept>

namespace gentlctl
{

using namespace GenTL;
using GenTL::internal::IGenTLProxy;

namespace
{

// Time for a camera's answer to a discovery, in milliseconds.
constexpr uint64_t updateTimeout = 1000;

struct AccessStatus
{
    int32_t status;
    std::string_view name;
    std::string_view reason;
};

constexpr std::array accessStatuses{
    AccessStatus{DEVICE_ACCESS_STATUS_UNKNOWN, "UNKNOWN",
                 "the producer does not know whether it can be opened"},
    AccessStatus{DEVICE_ACCESS_STATUS_READWRITE, "READWRITE", ""},
    AccessStatus{DEVICE_ACCESS_STATUS_READONLY, "READONLY",
                 "another application controls it; it can only be read"},
    AccessStatus{
        DEVICE_ACCESS_STATUS_NOACCESS, "NOACCESS",
        "the producer does not admit this model, or cannot reach the device (check its network settings)"},
    AccessStatus{DEVICE_ACCESS_STATUS_BUSY, "BUSY", "another application has it open"},
    AccessStatus{DEVICE_ACCESS_STATUS_OPEN_READWRITE, "OPEN_READWRITE",
                 "this application has it open already"},
    AccessStatus{DEVICE_ACCESS_STATUS_OPEN_READONLY, "OPEN_READONLY",
                 "this application has it open for reading"},
};

const AccessStatus *FindAccessStatus(int32_t status)
{
    const auto *entry = std::find_if(accessStatuses.begin(), accessStatuses.end(),
                                     [status](const auto &candidate) { return candidate.status == status; });
    return entry != accessStatuses.end() ? entry : nullptr;
}

/// The text of a function that writes it into a buffer of its own size.
template <typename Function>
std::string Text(Function function)
{
    size_t size = 0;
    function(nullptr, &size);
    std::string text(size, '\0');
    function(text.data(), &size);
    text.resize(std::min(text.find('\0'), text.size()));
    return text;
}

} // namespace

std::string AccessStatusName(int32_t status)
{
    const auto *entry = FindAccessStatus(status);
    return entry != nullptr ? std::string(entry->name) : std::to_string(status);
}

std::string AccessStatusReason(int32_t status)
{
    const auto *entry = FindAccessStatus(status);
    return entry != nullptr ? std::string(entry->reason) : "the producer gives a status of its own";
}

namespace
{

static_assert(std::endian::native == std::endian::little, "own registers are little-endian");

// Where no device has registers.
constexpr uint64_t ownRegisters = uint64_t{1} << 63U;

} // namespace

void Port::ReadRegisters(uint64_t address, void *buffer, size_t *size)
{
    const auto own = m_own.find(address);
    if (own == m_own.end())
    {
        return ProxyModule::ReadRegisters(address, buffer, size);
    }
    *size = std::min(*size, sizeof own->second);
    std::memcpy(buffer, &own->second, *size);
}

void Port::WriteRegisters(uint64_t address, const void *buffer, size_t *size)
{
    const auto own = m_own.find(address);
    if (own == m_own.end())
    {
        return ProxyModule::WriteRegisters(address, buffer, size);
    }
    *size = std::min(*size, sizeof own->second);
    std::memcpy(&own->second, buffer, *size);
}

uint64_t Port::AddRegister(int64_t value)
{
    const auto address = ownRegisters + m_own.size() * sizeof value;
    m_own[address] = value;
    return address;
}

Handle::~Handle()
{
    if (m_handle != nullptr)
    {
        internal::CloseQuietly([this] { m_close(m_handle); });
    }
}

namespace
{

std::filesystem::path LibraryFolder()
{
    std::error_code ignored;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", ignored);
    return program.parent_path().parent_path() / QVR_INSTALL_LIBDIR;
}

std::shared_ptr<IGenTLProxy> LoadProducer(const std::string &file)
{
    // For the rest of the process. The proxy producer asks for the vision library by its name alone, and
    // finds it when it is loaded or in the loader's path; other producers know nothing of it.
    dlopen((LibraryFolder() / "libqvr_tarn_cvl.so").c_str(), RTLD_NOW);
    try
    {
        return std::make_shared<internal::GenTLProxy>(file);
    }
    catch (const internal::GenTLException &exception)
    {
        // A producer that is not initialised has no last error to read.
        throw std::runtime_error(
            fmt::format("{} cannot be initialised: {} ({}). With PROXY_TL_LOG_LEVEL=error "
                        "in the environment the proxy producer tells the reason.",
                        file, exception.what(), exception.Code()));
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
            Text([&](char *text, size_t *size) { m_proxy->TLGetInterfaceID(System(), i, text, size); });
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
            Text([&](char *text, size_t *size) { m_proxy->IFGetDeviceID(handle, i, text, size); });
        const auto query = [&](DEVICE_INFO_CMD command)
        {
            return [&, command](INFO_DATATYPE *type, void *buffer, size_t *size)
            { m_proxy->IFGetDeviceInfo(handle, id.c_str(), command, type, buffer, size); };
        };
        const auto status = TryAnswer(query(DEVICE_INFO_ACCESS_STATUS));
        devices.push_back(
            {interfaceId, id, TextAnswer(query(DEVICE_INFO_VENDOR)), TextAnswer(query(DEVICE_INFO_MODEL)),
             TextAnswer(query(DEVICE_INFO_SERIAL_NUMBER)), TextAnswer(query(DEVICE_INFO_USER_DEFINED_NAME)),
             status && status->is_number() ? status->get<int32_t>() : DEVICE_ACCESS_STATUS_UNKNOWN});
    }
    return devices;
}

DeviceEntry Producer::Choose(const std::string &selection)
{
    std::vector<std::string> known;
    for (const auto &interface : Enumerate())
    {
        for (const auto &device : interface.devices)
        {
            known.push_back(fmt::format("{} ({})", device.id, device.model));
            const bool named = selection == device.id || selection == device.model ||
                               selection == device.serialNumber || selection == device.userName;
            const bool anyOpenable =
                selection.empty() && device.accessStatus == DEVICE_ACCESS_STATUS_READWRITE;
            if (anyOpenable || (!selection.empty() && named))
            {
                return device;
            }
        }
    }
    if (known.empty())
    {
        throw std::runtime_error("The producer lists no device. Is a camera connected and powered?");
    }
    throw std::runtime_error(selection.empty() ? "No device can be opened; `gentlctl list` tells why."
                                               : fmt::format("There is no device \"{}\". Known: {}",
                                                             selection, fmt::join(known, ", ")));
}

OpenDevice::OpenDevice(Producer &producer, const std::string &selection)
    : m_producer(producer), m_entry(producer.Choose(selection)),
      m_interface(producer.OpenInterface(m_entry.interfaceId))
{
    auto &calls = producer.Calls();
    DEV_HANDLE device = nullptr;
    try
    {
        calls.IFOpenDevice(m_interface, m_entry.id.c_str(), DEVICE_ACCESS_EXCLUSIVE, &device);
    }
    catch (const internal::GenTLException &exception)
    {
        const auto reason = AccessStatusReason(m_entry.accessStatus);
        throw std::runtime_error(fmt::format("Cannot open {} ({}): {} ({}){}{}", m_entry.id, m_entry.model,
                                             exception.what(), exception.Code(), reason.empty() ? "" : "; ",
                                             reason));
    }
    m_device = Handle(device, [&calls](void *handle) { calls.DevClose(handle); });
    calls.DevGetPort(device, &m_remotePort);
}

void *OpenDevice::Stream()
{
    if (m_stream.Get() == nullptr)
    {
        auto &calls = m_producer.Calls();
        const auto id =
            Text([&](char *text, size_t *size) { calls.DevGetDataStreamID(m_device.Get(), 0, text, size); });
        DS_HANDLE stream = nullptr;
        calls.DevOpenDataStream(m_device.Get(), id.c_str(), &stream);
        m_stream = Handle(stream, [&calls](void *handle) { calls.DSClose(handle); });
    }
    return m_stream.Get();
}

std::shared_ptr<Port> OpenDevice::PortOf(const std::string &module)
{
    using internal::ModuleType;
    const auto port = [this](void *handle, ModuleType type)
    { return std::make_shared<Port>(m_producer.Shared(), handle, type); };
    if (module == "system")
    {
        return port(m_producer.System(), ModuleType::System);
    }
    if (module == "interface")
    {
        return port(InterfaceHandle(), ModuleType::Interface);
    }
    if (module == "device")
    {
        return port(DeviceHandle(), ModuleType::Device);
    }
    if (module == "remote")
    {
        return port(RemotePortHandle(), ModuleType::RemoteDevice);
    }
    if (module == "stream")
    {
        return port(Stream(), ModuleType::DataStream);
    }
    throw std::runtime_error(fmt::format("There is no module \"{}\"", module));
}

Modules::Modules(Producer &producer, std::string selection)
    : m_producer(producer), m_selection(std::move(selection))
{
}

OpenDevice &Modules::Device()
{
    return m_device ? *m_device : m_device.emplace(m_producer, m_selection);
}

IF_HANDLE Modules::Interface()
{
    if (!m_selection.empty())
    {
        return m_producer.OpenInterface(m_producer.Choose(m_selection).interfaceId);
    }
    const auto interfaces = m_producer.Enumerate();
    if (interfaces.empty())
    {
        throw std::runtime_error("The producer lists no interface");
    }
    const auto hasOpenable = [](const InterfaceEntry &interface)
    {
        return std::ranges::find(interface.devices, DEVICE_ACCESS_STATUS_READWRITE,
                                 &DeviceEntry::accessStatus) != interface.devices.end();
    };
    const auto found = std::ranges::find_if(interfaces, hasOpenable);
    return m_producer.OpenInterface((found != interfaces.end() ? *found : interfaces.front()).id);
}

std::shared_ptr<Port> Modules::PortOf(const std::string &module)
{
    using internal::ModuleType;
    if (module == "system")
    {
        // Its features tell of the interfaces that were found.
        m_producer.Enumerate();
        return std::make_shared<Port>(m_producer.Shared(), m_producer.System(), ModuleType::System);
    }
    if (module == "interface")
    {
        return std::make_shared<Port>(m_producer.Shared(), Interface(), ModuleType::Interface);
    }
    return Device().PortOf(module);
}

std::string FindProducerFile(const std::string &argument)
{
    namespace fs = std::filesystem;
    if (!argument.empty())
    {
        return argument;
    }
    std::error_code ignored;
    // Where the build puts it, and where an installation has it.
    for (const auto *ours : {"qvr_proxygentl.cti", "qvr_proxygentl/qvr_proxygentl.cti"})
    {
        if (const auto file = LibraryFolder() / ours; fs::is_regular_file(file, ignored))
        {
            return file.string();
        }
    }
    std::istringstream folders(internal::utils::GetEnvironmentVariable("GENICAM_GENTL64_PATH"));
    for (std::string folder; std::getline(folders, folder, ':');)
    {
        for (const auto &entry : fs::directory_iterator(folder, ignored))
        {
            if (entry.path().extension() == ".cti")
            {
                return entry.path().string();
            }
        }
    }
    throw std::runtime_error("No GenTL producer found. Name one with --producer FILE, or set "
                             "GENICAM_GENTL64_PATH to the folder that holds it.");
}

std::string LowerProducerFile(const std::string &file)
{
    if (std::filesystem::path(file).filename() != "qvr_proxygentl.cti")
    {
        return {};
    }
    auto configured = internal::utils::GetEnvironmentVariable("PROXY_TL_CTI_PATH");
    return !configured.empty() ? configured : internal::FindProducerIn(internal::ProducerFolder(file));
}

} // namespace gentlctl
