#pragma once

#include "simulator/system/plug_watch.h"
#include "simulator/system/system.h"

namespace GenTL::simulator
{

/// The library between GCInitLib and GCCloseLib: the simulated cameras and all handles. Calls that run during
/// GCCloseLib keep it alive. Any thread may call.
class Producer
{
public:
    /// @throws Error GC_ERR_RESOURCE_IN_USE: it is initialised already.
    static void Initialize();
    /// Closes everything that is open.
    /// @throws Error GC_ERR_NOT_INITIALIZED: it is not initialised.
    static void Shutdown();
    /// @throws Error GC_ERR_NOT_INITIALIZED: it is not initialised.
    static std::shared_ptr<Producer> Get();

    Producer();
    ~Producer();

    template <typename T>
    std::shared_ptr<T> Find(const void *handle) const
    {
        return m_handles.Find<T>(handle);
    }

    /// @throws Error GC_ERR_RESOURCE_IN_USE: the system is open already.
    void *OpenSystem();

private:
    void CloseSystem();
    void SetUnplugged(const std::set<std::string> &names);

    HandleTable m_handles;
    std::vector<std::unique_ptr<CameraUnit>> m_cameras;
    std::mutex m_mutex;
    std::weak_ptr<System> m_system;
    std::optional<PlugWatch> m_plugs; ///< its thread uses the other members
};

} // namespace GenTL::simulator
