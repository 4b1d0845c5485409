#pragma once

#include "consumers/producer.h"
#include "support/described_nodes.h"

#include <memory>

namespace consumers
{

/// Where a device is.
struct DeviceAddress
{
    std::string interfaceId;
    std::string deviceId;
};

/// The time limits of updates, in ms.
struct UpdateLimits
{
    uint64_t interfaces;
    uint64_t devices;
};

/// The modules that a consumer has open, from the system to the stream. Each function is one step that all
/// consumers take in the same way; their order is the consumer's. A failure is a Refusal.
class Session
{
public:
    explicit Session(const Producer &producer) : m_producer(producer) {}

    TL_HANDLE system = nullptr;
    IF_HANDLE interface = nullptr;
    DEV_HANDLE device = nullptr;
    PORT_HANDLE remotePort = nullptr;
    DS_HANDLE stream = nullptr;
    std::unique_ptr<internal::DescribedNodes> remote; ///< the camera's features

    void OpenSystem();
    /// Opens each interface until one has a device of the model, and leaves that one open.
    /// @throws Refusal no interface has the model
    DeviceAddress Find(const std::string &model, const UpdateLimits &limits);
    void OpenInterface(const std::string &id);
    /// The code of IFOpenDevice.
    GC_ERROR TryOpenDevice(const std::string &id, DEVICE_ACCESS_FLAGS access);
    /// Opens the camera's port and reads its description, in one call.
    void ConnectRemote();
    void OpenStream();
    /// Has the producer allocate a buffer of this size for the stream, and queues it.
    void AddBuffer(size_t size) const;
    void CloseStream();
    void CloseDevice();
    void CloseInterface();
    void CloseSystem();

    /// The size that the stream defines, else the camera's PayloadSize.
    size_t PayloadSize() const;
    std::string DeviceType() const;

    const Producer &Calls() const { return m_producer; }

private:
    std::optional<std::string> DeviceOf(const std::string &model, uint64_t timeout) const;

    const Producer &m_producer;
};

} // namespace consumers
