#include "simulator/system/producer.h"

#include "simulator/cameras/camera_catalog.h"
#include "simulator/recordings/replay_options.h"

#include <cstdlib>

namespace GenTL::simulator
{

namespace
{

struct Instance
{
    // The catalogues are made first, so that they outlive the producer when the library is unloaded.
    const std::vector<CameraModel> &cameras = CameraCatalog();
    const std::vector<InterfaceModel> &interfaces = InterfaceCatalog();
    std::mutex mutex;
    std::shared_ptr<Producer> producer;
};

Instance &TheInstance()
{
    static Instance instance;
    return instance;
}

} // namespace

void Producer::Initialize()
{
    auto &instance = TheInstance();
    const std::lock_guard lock(instance.mutex);
    if (instance.producer)
    {
        throw Error(GC_ERR_RESOURCE_IN_USE, "The library is initialised already");
    }
    instance.producer = std::make_shared<Producer>();
}

void Producer::Shutdown()
{
    std::shared_ptr<Producer> ended;
    {
        auto &instance = TheInstance();
        const std::lock_guard lock(instance.mutex);
        ended.swap(instance.producer);
    }
    if (!ended)
    {
        throw Error(GC_ERR_NOT_INITIALIZED, "GCInitLib was not called");
    }
    ended->CloseSystem(); // aborts the waits of other threads
}

std::shared_ptr<Producer> Producer::Get()
{
    auto &instance = TheInstance();
    const std::lock_guard lock(instance.mutex);
    if (!instance.producer)
    {
        throw Error(GC_ERR_NOT_INITIALIZED, "GCInitLib was not called");
    }
    return instance.producer;
}

Info Producer::GetInfo(TL_INFO_CMD command)
{
    auto &instance = TheInstance();
    const std::lock_guard lock(instance.mutex);
    return SystemInfo(command, instance.producer ? instance.producer->Interfaces() : InterfacesWanted());
}

Producer::Producer()
{
    try
    {
        m_recorded = ReadRecordedWorld(RecordingFolders());
    }
    catch (const Error &error)
    {
        // TLOpen reports it: few consumers ask GCGetLastError after a failed GCInitLib.
        m_recordingFailure = error.what();
    }
    for (const auto &model : m_recorded.cameras.empty() ? CameraCatalog() : m_recorded.cameras)
    {
        m_cameras.push_back(std::make_unique<CameraUnit>(model));
    }
    if (const char *const file = std::getenv("QVR_SIM_UNPLUG"))
    {
        m_plugs.emplace(file, [this](const std::set<std::string> &names) { SetUnplugged(names); });
    }
}

Producer::~Producer()
{
    m_plugs.reset();
    CloseSystem(); // when the library is unloaded without GCCloseLib
}

void Producer::SetUnplugged(const std::set<std::string> &names)
{
    bool isChanged = false;
    for (const auto &camera : m_cameras)
    {
        const auto &model = camera->Model();
        const bool isPlugged = !names.contains(model.model) && !names.contains(model.Id());
        isChanged = isChanged || isPlugged != camera->IsPlugged();
        camera->SetPlugged(isPlugged);
    }
    std::shared_ptr<System> open;
    {
        const std::lock_guard lock(m_mutex);
        open = m_system.lock();
    }
    if (isChanged && open && !open->IsClosed())
    {
        open->PlugsChanged();
    }
}

void *Producer::OpenSystem()
{
    const std::lock_guard lock(m_mutex);
    if (const auto open = m_system.lock(); open && !open->IsClosed())
    {
        throw Error(GC_ERR_RESOURCE_IN_USE, "The system is open already");
    }
    if (!m_recordingFailure.empty())
    {
        throw Error(GC_ERR_IO, "{}", m_recordingFailure);
    }
    const auto system = std::make_shared<System>(m_handles, Interfaces(), m_cameras);
    m_system = system;
    return m_handles.Add(system);
}

std::span<const InterfaceModel> Producer::Interfaces() const
{
    return m_recorded.interfaces.empty() ? InterfacesWanted() : m_recorded.interfaces;
}

void Producer::CloseSystem()
{
    const std::lock_guard lock(m_mutex);
    if (const auto system = m_system.lock(); system && !system->IsClosed())
    {
        system->Close();
    }
}

} // namespace GenTL::simulator
