#ifndef QVR_SIMULATOR_MODULE_H
#define QVR_SIMULATOR_MODULE_H

#include "event.h"
#include "feature_set.h"

#include <map>
#include <set>

namespace GenTL::simulator
{

constexpr const char *vendorName = "QVR";
constexpr const char *transportType = "GEV";
constexpr const char *producerVersion = "1.0.0";

/** What the port of a module tells of itself. */
struct PortIdentity
{
    std::string id;
    std::string model;
    std::string module; /**< "TLSystem", ..., "Device" for a remote device */
    std::string portName;
    std::string version;
    std::string descriptionFile; /**< "System.xml"; ".zip" for a compressed one */
};

/**
 * A module of the producer: a port with registers and a description, events, and the modules that were
 * opened on it. Closing a module closes those first. Any thread may call.
 */
class Module : public Object, public std::enable_shared_from_this<Module>
{
public:
    Module(HandleTable &handles, PortIdentity identity, const FeatureLayout &layout,
           const std::string &description, std::vector<EVENT_TYPE> events);

    // Port
    virtual void Read(uint64_t address, std::span<uint8_t> out);
    virtual void Write(uint64_t address, std::span<const uint8_t> in);
    std::string Url() const;
    Info GetPortInfo(PORT_INFO_CMD command) const;
    /** GC_ERR_INVALID_INDEX: `index` is not 0. */
    Info GetUrlInfo(uint32_t index, URL_INFO_CMD command) const;

    // Events
    /**
     * GC_ERR_NOT_IMPLEMENTED: the module has no such event.
     * GC_ERR_RESOURCE_IN_USE: it is registered.
     */
    void *RegisterEvent(EVENT_TYPE type);
    /** GC_ERR_NOT_AVAILABLE: it is not registered. */
    void UnregisterEvent(EVENT_TYPE type);

    /** Gives the child its handle. GC_ERR_INVALID_HANDLE: this module was closed meanwhile. */
    void *Adopt(const std::shared_ptr<Module> &child);
    std::shared_ptr<Module> Parent() const { return m_parent.lock(); }
    bool IsClosed() const;

    /** Closes what was opened on this module, then the module. Its handle is invalid then. */
    void Close();

protected:
    /** The module's own part of Close, once. */
    virtual void OnClose() {}
    virtual std::shared_ptr<Event> MakeEvent(EVENT_TYPE type);

    HandleTable &Handles() { return m_handles; }
    FeatureSet &Features() { return m_features; }
    const FeatureSet &Features() const { return m_features; }
    virtual bool IsWritable() const { return true; }

private:
    void Forget(const std::shared_ptr<Module> &child);

    HandleTable &m_handles;
    const PortIdentity m_identity;
    const size_t m_descriptionSize;
    FeatureSet m_features;
    const std::vector<EVENT_TYPE> m_eventTypes;

    mutable std::mutex m_mutex; /**< guards what follows */
    bool m_closed = false;
    std::weak_ptr<Module> m_parent;
    std::set<std::shared_ptr<Module>> m_children;
    std::map<EVENT_TYPE, std::shared_ptr<Event>> m_events;
};

} // namespace GenTL::simulator

#endif
