#include "consumer/modules.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace gentlctl
{

using namespace GenTL;

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
        // The features of the system list the interfaces that the last update found.
        m_producer.Enumerate();
        return std::make_shared<Port>(m_producer.Shared(), m_producer.System(), ModuleType::System);
    }
    if (module == "interface")
    {
        return std::make_shared<Port>(m_producer.Shared(), Interface(), ModuleType::Interface);
    }
    return Device().PortOf(module);
}

} // namespace gentlctl
