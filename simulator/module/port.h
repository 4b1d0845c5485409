#pragma once

#include "simulator/features/feature_set.h"
#include "simulator/info.h"
#include "simulator/module/transport.h"

#include <string>

namespace GenTL::simulator
{

constexpr const char *vendorName = "QVR";
constexpr const char *producerVersion = "1.0.0";

/// What the info commands of a port answer.
struct PortIdentity
{
    std::string id;
    std::string model;
    std::string module; ///< "TLSystem", ..., "Device" for a remote device
    std::string portName;
    std::string version;
    std::string descriptionFile; ///< "System.xml"; ".zip" for a compressed one
    std::string transportType = gigEVision.type;
    std::string vendor = vendorName;
    bool bigEndian = false;                          ///< of the registers
    std::optional<URL_INFO_CMD> lastUrlCommand = {}; ///< the port refuses later ones
};

/// The registers of a module and the description of its features. Any thread may call.
class Port
{
public:
    Port(PortIdentity identity, const FeatureLayout &layout, const std::string &description);
    Port(const Port &) = delete;
    Port &operator=(const Port &) = delete;
    virtual ~Port() = default;

    // These throw as FeatureSet does.
    virtual void Read(uint64_t address, std::span<uint8_t> out);
    /// @throws Error GC_ERR_ACCESS_DENIED: the module was opened for reading only.
    virtual void Write(uint64_t address, std::span<const uint8_t> in);

    virtual std::string Url() const;
    virtual Info GetPortInfo(PORT_INFO_CMD command) const;
    /// @throws Error GC_ERR_INVALID_INDEX: `index` is not 0.
    virtual Info GetUrlInfo(uint32_t index, URL_INFO_CMD command) const;

protected:
    FeatureSet &Features() { return m_features; }
    const FeatureSet &Features() const { return m_features; }
    virtual bool IsWritable() const { return true; }
    /// Called before each access.
    /// @throws Error GC_ERR_IO: the device is gone.
    virtual void RequireReachable() const {}

private:
    const PortIdentity m_identity;
    const size_t m_descriptionSize;
    FeatureSet m_features;
};

} // namespace GenTL::simulator
