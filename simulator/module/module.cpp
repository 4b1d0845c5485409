#include "simulator/module/module.h"

#include <algorithm>

namespace GenTL::simulator
{

Module::Module(HandleTable &handles, PortIdentity identity, const FeatureLayout &layout,
               const std::string &description, std::vector<EVENT_TYPE> events)
    : Port(std::move(identity), layout, description), m_handles(handles), m_eventTypes(std::move(events))
{
}

std::shared_ptr<Event> Module::MakeEvent(EVENT_TYPE type)
{
    return std::make_shared<Event>(type, sizeof(uint64_t) + longestNotice, std::make_shared<std::mutex>());
}

void *Module::RegisterEvent(EVENT_TYPE type)
{
    if (std::ranges::find(m_eventTypes, type) == m_eventTypes.end())
    {
        throw Error(GC_ERR_NOT_IMPLEMENTED, "This module has no event of type {}", type);
    }
    const std::lock_guard lock(m_mutex);
    RequireOpen();
    if (m_events.contains(type))
    {
        throw Error(GC_ERR_RESOURCE_IN_USE, "The event is registered already");
    }
    const auto event = MakeEvent(type);
    m_events.emplace(type, event);
    return m_handles.Add(event);
}

void Module::UnregisterEvent(EVENT_TYPE type)
{
    const std::lock_guard lock(m_mutex);
    const auto found = m_events.find(type);
    if (found == m_events.end())
    {
        throw Error(GC_ERR_NOT_AVAILABLE, "The event is not registered");
    }
    m_handles.Remove(*found->second);
    found->second->Close();
    m_events.erase(found);
}

void Module::Fire(EVENT_TYPE type, const Notice &notice)
{
    const std::lock_guard lock(m_mutex);
    if (const auto found = m_events.find(type); found != m_events.end())
    {
        found->second->Fire(BytesOf(notice));
    }
}

void Module::RequireOpen() const
{
    if (m_closed)
    {
        throw Error(GC_ERR_INVALID_HANDLE, "The module was closed");
    }
}

void *Module::Adopt(const std::shared_ptr<Module> &child)
{
    const std::lock_guard lock(m_mutex);
    RequireOpen();
    child->m_parent = weak_from_this();
    m_children.insert(child);
    return m_handles.Add(child);
}

bool Module::IsClosed() const
{
    const std::lock_guard lock(m_mutex);
    return m_closed;
}

void Module::Forget(const std::shared_ptr<Module> &child)
{
    const std::lock_guard lock(m_mutex);
    m_children.erase(child);
}

void Module::Close()
{
    const auto self = shared_from_this();
    std::set<std::shared_ptr<Module>> children;
    std::map<EVENT_TYPE, std::shared_ptr<Event>> events;
    {
        const std::lock_guard lock(m_mutex);
        RequireOpen();
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
