#include "consumer/feature_values.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <cstdint>

namespace gentlctl
{

using namespace GenTL::internal::genapi;

namespace
{

Json ReadNumber(GraphFeatures &features, const FeatureDescription &description, NodeId id,
                const std::string &name)
{
    if (IsFloat(description.Graph()[id].kind))
    {
        return features.ReadFloat(name);
    }
    const auto value = features.ReadInteger(name);
    if (const auto form = description.FormOf(id))
    {
        return form(static_cast<uint64_t>(value));
    }
    return value;
}

bool IsWriteOnly(const Access &access)
{
    return access.implemented && access.available && !access.readable && !access.failed;
}

} // namespace

Json ReadFeature(GraphFeatures &features, const FeatureDescription &description, const std::string &name)
{
    const auto id = description.Find(name);
    const auto kind = description.Graph()[id].kind;
    if (kind == NodeKind::Command)
    {
        return "(command)";
    }
    if (IsWriteOnly(features.AccessOf(name)))
    {
        return "(write only)";
    }
    switch (kind)
    {
    case NodeKind::Enumeration:
    case NodeKind::String:
    case NodeKind::StringReg:
        return features.ReadText(name);
    case NodeKind::Register:
        return fmt::format("0x{:02x}", fmt::join(features.ReadBytes(name), ""));
    case NodeKind::Boolean:
        return features.ReadInteger(name) != 0;
    default:
        return ReadNumber(features, description, id, name);
    }
}

} // namespace gentlctl
