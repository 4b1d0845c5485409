#pragma once

#include "consumer/device_choice.h"
#include "consumer/handle.h"
#include "port/i_gentl_proxy.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace gentlctl
{

struct InterfaceEntry
{
    std::string id;
    std::string displayName;
    std::string tlType;
    std::vector<DeviceEntry> devices;
};

/// A GenTL producer, loaded and initialised, with its system open. The destructor closes what was opened,
/// last the library.
class Producer
{
public:
    /// @throws std::runtime_error the file cannot be loaded
    /// @throws GenTLException the producer cannot be initialised
    explicit Producer(const std::string &file);
    Producer(const Producer &) = delete;
    Producer &operator=(const Producer &) = delete;
    ~Producer();

    GenTL::internal::IGenTLProxy &Calls() const { return *m_proxy; }
    const std::shared_ptr<GenTL::internal::IGenTLProxy> &Shared() const { return m_proxy; }
    void *System() const { return m_system.Get(); }

    /// Updates the lists of interfaces and devices and returns them.
    std::vector<InterfaceEntry> Enumerate();

    /// Finds a device among all; does not open it.
    /// @param selection as for ChooseDevice
    /// @throws std::runtime_error as ChooseDevice
    DeviceEntry Choose(const std::string &selection);

    /// The interface of this id: opened by the first call, and open until the producer is destroyed.
    GenTL::IF_HANDLE OpenInterface(const std::string &id);

private:
    std::vector<DeviceEntry> Devices(const std::string &interfaceId);

    std::shared_ptr<GenTL::internal::IGenTLProxy> m_proxy;
    Handle m_system;
    std::map<std::string, Handle> m_interfaces; // end before the system that they belong to
};

} // namespace gentlctl
