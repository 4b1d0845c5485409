#pragma once

#include "simulator/system/plug_watch.h"
#include "simulator/system/recorded_world.h"
#include "simulator/system/system.h"

namespace GenTL::simulator
{

/// The library between GCInitLib and GCCloseLib: the simulated or recorded cameras and all handles. Calls
/// that run during GCCloseLib keep it alive. Any thread may call.
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

    /// Answers a query about the producer, initialised or not.
    static Info GetInfo(TL_INFO_CMD command);

    /// @throws Error GC_ERR_RESOURCE_IN_USE: the system is open already.
    /// @throws Error GC_ERR_IO: a recording that the environment asks for cannot be replayed.
    void *OpenSystem();

private:
    void CloseSystem();
    void SetUnplugged(const std::set<std::string> &names);
    std::span<const InterfaceModel> Interfaces() const;

    HandleTable m_handles;
    RecordedWorld m_recorded;       ///< in place of the simulated cameras; empty when none is replayed
    std::string m_recordingFailure; ///< why the recordings cannot be replayed
    std::vector<std::unique_ptr<CameraUnit>> m_cameras;
    std::mutex m_mutex;
    std::weak_ptr<System> m_system;
    std::optional<PlugWatch> m_plugs; ///< its thread uses the other members
};

} // namespace GenTL::simulator
