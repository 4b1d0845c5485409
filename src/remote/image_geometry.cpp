#include "remote/image_geometry.h"

#include "nodemap/node_access.h"

#include <algorithm>
#include <array>

namespace GenTL::internal
{

using tarn::common::Metadata;
using tarn::common::Rectangle;

tarn::common::Size ReadImageSize(const DeviceFeatures &features)
{
    features.ValidParser();
    return {features.ReadUnsigned32("Width"), features.ReadUnsigned32("Height")};
}

BinningFactors ReadFactors(const DeviceFeatures &features, const std::string &prefix)
{
    const auto *selector = features.TryFind(prefix + "Selector");
    const auto *horizontal = features.TryFind(prefix + "Horizontal");
    const auto *vertical = features.TryFind(prefix + "Vertical");
    BinningFactors factors;
    if (selector == nullptr || horizontal == nullptr || vertical == nullptr)
    {
        return factors;
    }
    auto &port = features.Port();
    for (const auto &entry : nodemap::GetAvailableEnumEntries(port, features.Parser(), *selector))
    {
        nodemap::SetEnumEntry(port, features.Parser(), *selector, entry);
        factors.horizontal *= nodemap::ReadUnsigned32(port, *horizontal);
        factors.vertical *= nodemap::ReadUnsigned32(port, *vertical);
    }
    return factors;
}

Metadata ReadMetadata(const DeviceFeatures &features)
{
    const auto &parser = features.ValidParser();
    Metadata metadata;
    const std::array<std::string, 4> region{"OffsetX", "OffsetY", "Width", "Height"};
    if (std::ranges::all_of(region, [&](const auto &name) { return parser.HasNode(name); }))
    {
        // The braces read the four registers in this order.
        metadata.Set("Roi",
                     Rectangle{features.ReadUnsigned32(region[0]), features.ReadUnsigned32(region[1]),
                               features.ReadUnsigned32(region[2]), features.ReadUnsigned32(region[3])});
    }
    const auto binning = ReadFactors(features, "Binning");
    const auto decimation = ReadFactors(features, "Decimation");
    metadata.Set("BinningHorizontal", static_cast<uint64_t>(binning.horizontal * decimation.horizontal));
    metadata.Set("BinningVertical", static_cast<uint64_t>(binning.vertical * decimation.vertical));
    return metadata;
}

} // namespace GenTL::internal
