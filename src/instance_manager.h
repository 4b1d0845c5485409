#pragma once

#include "utils/gentl_exception.h"
#include "utils/log.h"
#include "utils/mutex.h"

#include <memory>
#include <stdexcept>
#include <string_view>
#include <unordered_map>

namespace GenTL::internal
{

class System;
class Interface;
class Device;
class Datastream;
class RemotePort;
class Buffer;
class EventHandler;

/// Owner of every object behind a handle of the consumer, one registry for each kind.
///
/// A handle is the address of the object. Any thread may use the registries at any time. A registry holds its
/// lock while it destroys an object, and the object's destructor calls the registries of its children. So
/// locks nest from parent to child only: a destructor must never call the registry that runs it. Destructors
/// also close lower handles under the lock. That cannot deadlock: the lower producer calls no function of
/// this library, and the acquisition thread, which a stream's destructor joins, takes only the Buffer
/// registry.
class InstanceManager
{
public:
    template <typename H, typename T>
    class Registry
    {
    public:
        /// @return the new handle
        /// @throws std::invalid_argument "Instance not valid (nullptr)"
        /// @throws std::runtime_error "Instance already registered"; the entry stays as it was
        H Add(const std::shared_ptr<T> &instance)
        {
            if (!instance)
            {
                throw std::invalid_argument("Instance not valid (nullptr)");
            }
            const utils::MutexLock guard(m_lock);
            const H handle = instance.get();
            if (!m_instances.try_emplace(handle, instance).second)
            {
                throw std::runtime_error("Instance already registered");
            }
            return handle;
        }

        /// @throws GenTLException "Handle not found!", GC_ERR_INVALID_HANDLE
        void Remove(H handle)
        {
            const utils::MutexLock guard(m_lock);
            if (m_instances.erase(handle) == 0)
            {
                throw GenTLException("Handle not found!", GC_ERR_INVALID_HANDLE);
            }
        }

        /// The object, or null when there is none.
        std::shared_ptr<T> Find(H handle)
        {
            const utils::MutexLock guard(m_lock);
            const auto entry = m_instances.find(handle);
            return entry != m_instances.end() ? entry->second : nullptr;
        }

        bool Contains(H handle)
        {
            const utils::MutexLock guard(m_lock);
            return m_instances.contains(handle);
        }

        /// Releases all objects. A warning counts those that a consumer did not close.
        void ClearAndWarn(std::string_view label)
        {
            const utils::MutexLock guard(m_lock);
            if (!m_instances.empty())
            {
                QVR_LOG_WARN("Cleanup: {} instances of {} were still registered!", m_instances.size(), label);
            }
            m_instances.clear();
        }

    private:
        utils::Mutex m_lock;
        std::unordered_map<H, std::shared_ptr<T>> m_instances QVR_GUARDED_BY(m_lock);
    };

    InstanceManager() = default;
    InstanceManager(const InstanceManager &) = delete;
    InstanceManager &operator=(const InstanceManager &) = delete;
    ~InstanceManager() { ClearAll(); }

    /// Clears all registries, children before their parents.
    void ClearAll()
    {
        events.ClearAndWarn("Event");
        buffers.ClearAndWarn("Buffer");
        datastreams.ClearAndWarn("Datastream");
        remotePorts.ClearAndWarn("RemotePort");
        devices.ClearAndWarn("Device");
        interfaces.ClearAndWarn("Interface");
        systems.ClearAndWarn("System");
    }

    Registry<void *, System> systems;
    Registry<void *, Interface> interfaces;
    Registry<void *, Device> devices;
    Registry<void *, Datastream> datastreams;
    Registry<void *, RemotePort> remotePorts;
    Registry<void *, Buffer> buffers;
    Registry<void *, EventHandler> events;
};

} // namespace GenTL::internal
