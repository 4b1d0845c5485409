#include "module.h"

#include <algorithm>
#include <cstdio>

namespace GenTL::simulator
{

Module::Module(HandleTable &handles, PortIdentity identity, const FeatureLayout &layout,
               const std::string &description, std::vector<EVENT_TYPE> events)
    : m_handles(handles), m_identity(std::move(identity)), m_descriptionSize(description.size()),
      m_features(layout, description), m_eventTypes(std::move(events))
{
}

void Module::Read(uint64_t address, std::span<uint8_t> out)
{
    m_features.Read(address, out);
}

void Module::Write(uint64_t address, std::span<const uint8_t> in)
{
    if (!IsWritable())
    {
        throw Error(GC_ERR_ACCESS_DENIED, "The module was opened for reading only");
    }
    m_features.Write(address, in);
}

std::string Module::Url() const
{
    char place[64];
    std::snprintf(place, sizeof place, ";%llX;%zX?SchemaVersion=1.1.0",
                  static_cast<unsigned long long>(FeatureSet::descriptionAddress), m_descriptionSize);
    return "local:///" + m_identity.descriptionFile + place;
}

Info Module::GetPortInfo(PORT_INFO_CMD command) const
{
    switch (command)
    {
    case PORT_INFO_ID:
        return Info::Text(m_identity.id);
    case PORT_INFO_VENDOR:
        return Info::Text(vendorName);
    case PORT_INFO_MODEL:
        return Info::Text(m_identity.model);
    case PORT_INFO_TLTYPE:
        return Info::Text(transportType);
    case PORT_INFO_MODULE:
        return Info::Text(m_identity.module);
    case PORT_INFO_LITTLE_ENDIAN:
    case PORT_INFO_ACCESS_READ:
        return Info::Bool(true);
    case PORT_INFO_ACCESS_WRITE:
        return Info::Bool(IsWritable());
    case PORT_INFO_BIG_ENDIAN:
    case PORT_INFO_ACCESS_NA:
    case PORT_INFO_ACCESS_NI:
        return Info::Bool(false);
    case PORT_INFO_VERSION:
        return Info::Text(m_identity.version);
    case PORT_INFO_PORTNAME:
        return Info::Text(m_identity.portName);
    default:
        UnknownCommand(command);
    }
}

Info Module::GetUrlInfo(uint32_t index, URL_INFO_CMD command) const
{
    if (index != 0)
    {
        throw Error(GC_ERR_INVALID_INDEX, "There is one URL only");
    }
    switch (command)
    {
    case URL_INFO_URL:
        return Info::Text(Url());
    case URL_INFO_SCHEMA_VER_MAJOR:
    case URL_INFO_SCHEMA_VER_MINOR:
    case URL_INFO_FILE_VER_MAJOR:
        return Info::Int32(1);
    case URL_INFO_FILE_VER_MINOR:
    case URL_INFO_FILE_VER_SUBMINOR:
        return Info::Int32(0);
    case URL_INFO_FILE_SHA1_HASH:
        throw Error(GC_ERR_NOT_AVAILABLE, "No hash of the description");
    case URL_INFO_FILE_REGISTER_ADDRESS:
        return Info::UInt64(FeatureSet::descriptionAddress);
    case URL_INFO_FILE_SIZE:
        return Info::UInt64(m_descriptionSize);
    case URL_INFO_SCHEME:
        return Info::Int32(URL_SCHEME_LOCAL);
    case URL_INFO_FILENAME:
        return Info::Text(m_identity.descriptionFile);
    default:
        UnknownCommand(command);
    }
}

std::shared_ptr<Event> Module::MakeEvent(EVENT_TYPE type)
{
    return std::make_shared<Event>(type, 0, std::make_shared<std::mutex>());
}

void *Module::RegisterEvent(EVENT_TYPE type)
{
    if (std::find(m_eventTypes.begin(), m_eventTypes.end(), type) == m_eventTypes.end())
    {
        throw Error(GC_ERR_NOT_IMPLEMENTED, "No event of type " + std::to_string(type) + " here");
    }
    const std::unique_lock lock(m_mutex);
    if (m_closed)
    {
        throw Error(GC_ERR_INVALID_HANDLE, "The module was closed");
    }
    if (m_events.contains(type))
    {
        throw Error(GC_ERR_RESOURCE_IN_USE, "The event is registered already");
    }
    const std::shared_ptr<Event> event = MakeEvent(type);
    m_events.emplace(type, event);
    return m_handles.Add(event);
}

void Module::UnregisterEvent(EVENT_TYPE type)
{
    const std::unique_lock lock(m_mutex);
    const auto found = m_events.find(type);
    if (found == m_events.end())
    {
        throw Error(GC_ERR_NOT_AVAILABLE, "The event is not registered");
    }
    m_handles.Remove(*found->second);
    found->second->Close();
    m_events.erase(found);
}

void *Module::Adopt(const std::shared_ptr<Module> &child)
{
    const std::unique_lock lock(m_mutex);
    if (m_closed)
    {
        throw Error(GC_ERR_INVALID_HANDLE, "The module was closed");
    }
    child->m_parent = weak_from_this();
    m_children.insert(child);
    return m_handles.Add(child);
}

bool Module::IsClosed() const
{
    const std::unique_lock lock(m_mutex);
    return m_closed;
}

void Module::Forget(const std::shared_ptr<Module> &child)
{
    const std::unique_lock lock(m_mutex);
    m_children.erase(child);
}

void Module::Close()
{
    const std::shared_ptr<Module> self = shared_from_this();
    std::set<std::shared_ptr<Module>> children;
    std::map<EVENT_TYPE, std::shared_ptr<Event>> events;
    {
        const std::unique_lock lock(m_mutex);
        if (m_closed)
        {
            throw Error(GC_ERR_INVALID_HANDLE, "The module was closed");
        }
        m_closed = true;
        children.swap(m_children);
        events.swap(m_events);
    }
    m_handles.Remove(*this);
    for (const auto &child : children)
    {
        child->Close();
    }
    for (const auto &[type, event] : events)
    {
        m_handles.Remove(*event);
        event->Close();
    }
    OnClose();
    if (const auto parent = m_parent.lock())
    {
        parent->Forget(self);
    }
}

} // namespace GenTL::simulator
