#include "processing/types.h"

#include <array>
#include <string_view>

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

} // namespace GenTL::internal
