#pragma once

#include "gentlctl/info.h"
#include "port/proxy_module.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace gentlctl
{

/// A handle of the producer that is closed at the end of its owner. Failures of the close are ignored.
class Handle
{
public:
    Handle() = default;
    Handle(void *handle, std::function<void(void *)> close) : m_handle(handle), m_close(std::move(close)) {}
    Handle(Handle &&other) noexcept { Swap(other); }
    Handle &operator=(Handle &&other) noexcept
    {
        Swap(other);
        return *this;
    }
    ~Handle();

    void *Get() const { return m_handle; }

private:
    void Swap(Handle &other) noexcept
    {
        std::swap(m_handle, other.m_handle);
        std::swap(m_close, other.m_close);
    }

    void *m_handle = nullptr;
    std::function<void(void *)> m_close;
};

/// A register port of the producer, for reading features by name. Has registers of this program's own, too,
/// for what a description gives as a value: those are not for several threads.
class Port final : public GenTL::internal::ProxyModule
{
public:
    Port(std::shared_ptr<GenTL::internal::IGenTLProxy> proxy, void *handle,
         GenTL::internal::ModuleType module)
        : ProxyModule(std::move(proxy), handle), m_module(module)
    {
    }

    GenTL::internal::ModuleType GetModuleType() const override { return m_module; }
    void ReadRegisters(uint64_t address, void *buffer, size_t *size) override;
    void WriteRegisters(uint64_t address, const void *buffer, size_t *size) override;

    /// Adds a register of 8 bytes, little-endian.
    /// @return its address
    uint64_t AddRegister(int64_t value);

private:
    GenTL::internal::ModuleType m_module;
    std::map<uint64_t, int64_t> m_own;
};

/// A device as an interface lists it.
struct DeviceEntry
{
    std::string interfaceId;
    std::string id;
    std::string vendor;
    std::string model;
    std::string serialNumber;
    std::string userName;
    int32_t accessStatus;
};

struct InterfaceEntry
{
    std::string id;
    std::string displayName;
    std::string tlType;
    std::vector<DeviceEntry> devices;
};

/// The published name of an access status, and what it means for somebody who wants to open the device.
std::string AccessStatusName(int32_t status);
std::string AccessStatusReason(int32_t status);

/// A GenTL producer, loaded and initialised, with its system open. Ends with GCCloseLib.
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

    /// Updates the lists of interfaces and devices and gives them.
    std::vector<InterfaceEntry> Enumerate();

    /// The device that is meant, opened or not.
    /// @param selection id, model, serial number or user name of a device; empty for the first one that can
    /// be opened
    /// @throws std::runtime_error no such device
    DeviceEntry Choose(const std::string &selection);

    /// The interface of this id; opened the first time, and open until the producer ends.
    GenTL::IF_HANDLE OpenInterface(const std::string &id);

private:
    std::vector<DeviceEntry> Devices(const std::string &interfaceId);

    std::shared_ptr<GenTL::internal::IGenTLProxy> m_proxy;
    Handle m_system;
    std::map<std::string, Handle> m_interfaces; // end before the system that they belong to
};

/// An opened device with its remote port, and its stream once it is asked for.
class OpenDevice
{
public:
    /// @param selection as of Producer::Choose
    /// @throws std::runtime_error no such device, or why it cannot be opened
    OpenDevice(Producer &producer, const std::string &selection);

    const DeviceEntry &Entry() const { return m_entry; }
    void *InterfaceHandle() const { return m_interface; }
    void *DeviceHandle() const { return m_device.Get(); }
    void *RemotePortHandle() const { return m_remotePort; }
    /// Opens the first stream the first time.
    void *Stream();

    /// @param module "system", "interface", "device", "remote" or "stream"
    /// @throws std::runtime_error another name
    std::shared_ptr<Port> PortOf(const std::string &module);

private:
    Producer &m_producer;
    DeviceEntry m_entry;
    GenTL::IF_HANDLE m_interface;
    Handle m_device;
    void *m_remotePort = nullptr;
    Handle m_stream;
};

/// The modules of a producer by name. A device is opened for those that belong to one, and not before.
class Modules
{
public:
    /// @param selection as of Producer::Choose
    Modules(Producer &producer, std::string selection);

    /// The device's interface; without one that can be opened, the first.
    /// @throws std::runtime_error no such device, or no interface
    GenTL::IF_HANDLE Interface();

    /// @throws std::runtime_error no such device, or why it cannot be opened
    OpenDevice &Device();

    /// @param module "system", "interface", "device", "remote" or "stream"
    /// @throws std::runtime_error another name, or what Interface and Device throw
    std::shared_ptr<Port> PortOf(const std::string &module);

private:
    Producer &m_producer;
    std::string m_selection;
    std::optional<OpenDevice> m_device;
};

/// File of the producer to use: the argument, else the proxy producer of the build or the installation that
/// this program is of, else the first producer in the folders of GENICAM_GENTL64_PATH.
/// @throws std::runtime_error none found
std::string FindProducerFile(const std::string &argument);

/// File of the producer below, when `file` is the proxy producer; empty otherwise, or when there is none.
std::string LowerProducerFile(const std::string &file);

} // namespace gentlctl
