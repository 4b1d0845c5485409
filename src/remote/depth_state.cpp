#include "remote/depth_state.h"

#include "common/size.h"
#include "utils/try.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

namespace GenTL::internal
{

namespace
{

using tarn::common::Metadata;
using tarn::common::Rectangle;

std::optional<uint32_t> TryReadPixels(genapi::GraphFeatures &features, std::string_view name)
{
    const auto value = utils::Try([&] { return features.ReadInteger(name); });
    constexpr int64_t largest = std::numeric_limits<uint32_t>::max();
    return value && *value >= 0 && *value <= largest ? std::optional(static_cast<uint32_t>(*value))
                                                     : std::nullopt;
}

/// Pixels of the sensor that make one of the image.
uint64_t ReadFactor(genapi::GraphFeatures &features, const std::string &direction)
{
    const auto read = [&](const std::string &name)
    { return uint64_t{std::max<uint32_t>(TryReadPixels(features, name + direction).value_or(1), 1)}; };
    return read("Binning") * read("Decimation");
}

} // namespace

Scan3dInfo ReadDepthEncoding(genapi::GraphFeatures &features)
{
    const auto read = [&](std::string_view name)
    { return utils::Try([&] { return features.ReadFloat(name); }); };
    Scan3dInfo info;
    info.scan3dCoordinateScale = read("Scan3dCoordinateScale");
    info.scan3dCoordinateOffset = read("Scan3dCoordinateOffset");
    info.scan3dAxisMin = read("Scan3dAxisMin");
    info.scan3dAxisMax = read("Scan3dAxisMax");
    info.scan3dInvalidDataValue = read("Scan3dInvalidDataValue");
    if (const auto flag = read("Scan3dInvalidDataFlag"))
    {
        info.scan3dInvalidDataFlag = *flag != 0;
    }
    return info;
}

Metadata ReadGeometry(genapi::GraphFeatures &features)
{
    Metadata geometry;
    const auto x = TryReadPixels(features, "OffsetX");
    const auto y = TryReadPixels(features, "OffsetY");
    const auto width = TryReadPixels(features, "Width");
    const auto height = TryReadPixels(features, "Height");
    if (x && y && width && height)
    {
        geometry.Set("Roi", Rectangle{*x, *y, *width, *height});
    }
    geometry.Set("BinningHorizontal", ReadFactor(features, "Horizontal"));
    geometry.Set("BinningVertical", ReadFactor(features, "Vertical"));
    return geometry;
}

} // namespace GenTL::internal
