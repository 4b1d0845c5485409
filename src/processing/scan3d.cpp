#include "processing/scan3d.h"

#include "utils/map_at.h"

#include <algorithm>
#include <unordered_map>

namespace GenTL::internal
{
namespace
{

constexpr std::array<std::string_view, 3> coordinateNames{"CoordinateA", "CoordinateB", "CoordinateC"};

constexpr std::array<std::string_view, 11> modeNames{
    "UncalibratedC",         "CalibratedABC_Grid", "CalibratedABC_PointCloud", "CalibratedAC",
    "CalibratedAC_Linescan", "CalibratedC",        "CalibratedC_Linescan",     "RectifiedC",
    "RectifiedC_Linescan",   "DisparityC",         "DisparityC_Linescan"};

/// The name of an enumerator, none for a value outside of the enumeration.
template <typename Enumeration, size_t count>
std::optional<std::string_view> NameOf(Enumeration value, const std::array<std::string_view, count> &names)
{
    const auto index = static_cast<int32_t>(value);
    if (index < 0 || static_cast<size_t>(index) >= count)
    {
        return std::nullopt;
    }
    return names.at(static_cast<size_t>(index));
}

} // namespace

std::string ToString(Scan3dCoordinate coordinate)
{
    const auto name = NameOf(coordinate, coordinateNames);
    return "Scan3d" + std::string(name.value_or("Coordinate"));
}

std::optional<Scan3dCoordinate> Scan3dCoordinateOf(std::string_view entry)
{
    const auto *const name = std::ranges::find(coordinateNames, entry);
    return name != coordinateNames.end()
               ? std::optional(static_cast<Scan3dCoordinate>(name - coordinateNames.begin()))
               : std::nullopt;
}

std::string ToString(Scan3dOutputMode mode)
{
    const auto name = NameOf(mode, modeNames);
    return name ? std::string(*name) : std::to_string(static_cast<int32_t>(mode));
}

Scan3dOutputMode Scan3dOutputModeOf(const std::string &name)
{
    static const auto modes = []
    {
        std::unordered_map<std::string, Scan3dOutputMode> result;
        for (size_t i = 0; i < modeNames.size(); ++i)
        {
            result.emplace(modeNames.at(i), static_cast<Scan3dOutputMode>(i));
        }
        return result;
    }();
    return utils::MapAt(modes, name);
}

OutputModeTraits TraitsOf(Scan3dOutputMode mode)
{
    const auto *const row = std::ranges::find(outputModes, mode, &OutputModeTraits::mode);
    return row != outputModes.end() ? *row : OutputModeTraits{.mode = mode};
}

const OutputModeTraits *MadeOutputMode(std::string_view entry)
{
    const auto *const row = std::ranges::find_if(outputModes, [entry](const auto &traits)
                                                 { return ToString(traits.mode) == entry; });
    return row != outputModes.end() ? row : nullptr;
}

bool IsMadeByOutputMode(tarn::common::PixelFormat format)
{
    return std::ranges::find(outputModes, format, &OutputModeTraits::makes) != outputModes.end();
}

} // namespace GenTL::internal
