#include "remote/scan3d_reader.h"

#include "nodemap/node_access.h"
#include "utils/file_access.h"

#include <string>

namespace GenTL::internal
{

Scan3dInfo ReadScan3dValues(const DeviceFeatures &features)
{
    Scan3dInfo info{};
    info.scan3dCoordinateScale = features.ReadOptionalFloat("Scan3dCoordinateScale");
    info.scan3dAxisMax = features.ReadOptionalFloat("Scan3dAxisMax");
    info.scan3dAxisMin = features.ReadOptionalFloat("Scan3dAxisMin");
    info.scan3dCoordinateOffset = features.ReadOptionalFloat("Scan3dCoordinateOffset");
    info.scan3dInvalidDataValue = features.ReadOptionalFloat("Scan3dInvalidDataValue");
    const std::string flag = "Scan3dInvalidDataFlag";
    if (features.TryFindReadable(flag) != nullptr)
    {
        info.scan3dInvalidDataFlag = nodemap::IsTrue(features.Port(), features.Parser(), flag);
    }
    return info;
}

std::optional<OutputModeValues> ReadOutputModes(const DeviceFeatures &features)
{
    const auto *node = features.TryFindReadable("Scan3dOutputMode");
    if (node == nullptr)
    {
        return std::nullopt;
    }
    OutputModeValues modes;
    for (const auto &entry : node->EnumEntries)
    {
        modes.emplace_back(Scan3dOutputModeOf(entry.Name),
                           static_cast<uint32_t>(std::get<int64_t>(entry.Value)));
    }
    return modes;
}

std::vector<uint8_t> ReadLensCalibration(const DeviceFeatures &features)
{
    const std::string name = "LensCalibrationData";
    const utils::FileAccess files(features.Port(), features.Parser());
    // Both answers are unused. AvailableFiles throws for a device without file access.
    files.AvailableFiles();
    files.FileSize(name);
    return files.ReadFile(name);
}

} // namespace GenTL::internal
