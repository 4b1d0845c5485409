#pragma once

#include "consumer/device.h"
#include "consumer/port.h"
#include "consumer/producer.h"

#include <memory>
#include <optional>
#include <string>

namespace gentlctl
{

/// The modules of a producer by name. Opens the device only for a module that belongs to it.
class Modules
{
public:
    /// @param selection as for Producer::Choose
    Modules(Producer &producer, std::string selection);

    /// The interface of the selected device; without a selection the first one with a device that can be
    /// opened, else the first one.
    /// @throws std::runtime_error there is no such device, or no interface
    GenTL::IF_HANDLE Interface();

    /// @throws std::runtime_error as the constructor of OpenDevice
    OpenDevice &Device();

    /// @param module "system", "interface", "device", "remote" or "stream"
    /// @throws std::runtime_error any other name; as Interface and Device
    std::shared_ptr<Port> PortOf(const std::string &module);

private:
    Producer &m_producer;
    std::string m_selection;
    std::optional<OpenDevice> m_device;
};

} // namespace gentlctl
