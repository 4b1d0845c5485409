#include "processing/types.h"

#include "utils/map_at.h"

#include <array>
#include <string_view>
#include <unordered_map>

namespace GenTL::internal
{
namespace
{

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

constexpr std::array<std::string_view, 11> modeNames{
    "UncalibratedC",         "CalibratedABC_Grid", "CalibratedABC_PointCloud", "CalibratedAC",
    "CalibratedAC_Linescan", "CalibratedC",        "CalibratedC_Linescan",     "RectifiedC",
    "RectifiedC_Linescan",   "DisparityC",         "DisparityC_Linescan"};

} // namespace

std::string ToString(Component component)
{
    static constexpr std::array<std::string_view, 3> names{"Image2D", "Image3D", "Confidence"};
    const auto name = NameOf(component, names);
    return name ? std::string(*name) : std::to_string(static_cast<int32_t>(component));
}

std::string ToString(Scan3dCoordinate coordinate)
{
    static constexpr std::array<std::string_view, 3> letters{"A", "B", "C"};
    return "Scan3dCoordinate" + std::string(NameOf(coordinate, letters).value_or(""));
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

} // namespace GenTL::internal
