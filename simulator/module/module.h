#pragma once

#include "simulator/module/event.h"
#include "simulator/module/notice.h"
#include "simulator/module/port.h"

#include <map>
#include <set>

namespace GenTL::simulator
{

/// A module of the producer: a port, its events, and the modules that were opened on it. Made by its parent,
/// which adopts it; ends when it was closed and no call uses it any more. Any thread may call.
class Module : public Object, public Port, public std::enable_shared_from_this<Module>
{
public:
    Module(HandleTable &handles, PortIdentity identity, const FeatureLayout &layout,
           const std::string &description, std::vector<EVENT_TYPE> events);

    /// @throws Error GC_ERR_NOT_IMPLEMENTED: the module has no such event.
    /// @throws Error GC_ERR_RESOURCE_IN_USE: it is registered already.
    void *RegisterEvent(EVENT_TYPE type);
    /// @throws Error GC_ERR_NOT_AVAILABLE: it is not registered.
    void UnregisterEvent(EVENT_TYPE type);

    /// Fires an event if it is registered.
    void Fire(EVENT_TYPE type, const Notice &notice);

    /// Makes this module the parent of `child`, and returns the handle of the child.
    /// @throws Error GC_ERR_INVALID_HANDLE: this module was closed meanwhile.
    void *Adopt(const std::shared_ptr<Module> &child);
    std::shared_ptr<Module> Parent() const { return m_parent.lock(); }
    bool IsClosed() const;

    /// Closes the children, then this module. Its handle is invalid afterwards.
    /// @throws Error GC_ERR_INVALID_HANDLE: it is closed already.
    void Close();

protected:
    /// Closes what only this kind of module has. Called once.
    virtual void OnClose() {}
    virtual std::shared_ptr<Event> MakeEvent(EVENT_TYPE type);

    HandleTable &Handles() { return m_handles; }

private:
    void Forget(const std::shared_ptr<Module> &child);
    /// With the lock held.
    /// @throws Error GC_ERR_INVALID_HANDLE after Close
    void RequireOpen() const;

    HandleTable &m_handles;
    const std::vector<EVENT_TYPE> m_eventTypes;

    mutable std::mutex m_mutex; ///< guards what follows
    bool m_closed = false;
    std::weak_ptr<Module> m_parent;
    std::set<std::shared_ptr<Module>> m_children;
    std::map<EVENT_TYPE, std::shared_ptr<Event>> m_events;
};

} // namespace GenTL::simulator
