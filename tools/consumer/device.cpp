#include "consumer/device.h"

#include "consumer/access_status.h"
#include "consumer/text.h"
#include "utils/gentl_exception.h"

#include <fmt/format.h>

#include <stdexcept>

namespace gentlctl
{

using namespace GenTL;

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
        const auto id = ReadText([&](char *text, size_t *size)
                                 { calls.DevGetDataStreamID(m_device.Get(), 0, text, size); });
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

void OpenDevice::Close()
{
    m_producer.Calls().DevClose(m_device.Get());
    m_device.Release();
}

} // namespace gentlctl
