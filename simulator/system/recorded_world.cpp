#include "simulator/system/recorded_world.h"

#include "recording/error.h"
#include "simulator/recordings/recorded_model.h"

#include <algorithm>

namespace GenTL::simulator
{

namespace
{

/// The place of the camera's interface in the list, which grows by it if need be.
size_t IndexOfInterface(const recording::InterfaceRecord &recorded, std::vector<InterfaceModel> &interfaces)
{
    const auto found = std::ranges::find(interfaces, recorded.id, &InterfaceModel::id);
    const auto index = static_cast<size_t>(found - interfaces.begin());
    if (found == interfaces.end())
    {
        interfaces.push_back({.id = recorded.id,
                              .displayName = recorded.displayName,
                              .transport = TransportOf(recorded.tlType)});
    }
    return index;
}

void Add(const std::filesystem::path &folder, RecordedWorld &world)
{
    auto model = RecordedModel(folder);
    const auto same = std::ranges::find(world.cameras, model.Id(), &CameraModel::Id);
    if (same != world.cameras.end())
    {
        throw Error(GC_ERR_IO, "{} and {} are recordings of the same camera, {}; replay one of them",
                    same->recording->Folder().string(), folder.string(), model.Id());
    }
    model.interfaceIndex = IndexOfInterface(model.recording->Device().interface, world.interfaces);
    world.cameras.push_back(std::move(model));
}

} // namespace

RecordedWorld ReadRecordedWorld(const std::vector<std::filesystem::path> &folders)
{
    RecordedWorld world;
    try
    {
        for (const auto &folder : folders)
        {
            Add(folder, world);
        }
    }
    catch (const recording::Error &error)
    {
        throw Error(GC_ERR_IO, "{}", error.what());
    }
    return world;
}

} // namespace GenTL::simulator
