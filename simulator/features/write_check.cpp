#include "simulator/features/write_check.h"

#include "simulator/error.h"
#include "simulator/features/raw_value.h"

#include <algorithm>
#include <cmath>

namespace GenTL::simulator
{

namespace
{

[[noreturn]] void RefuseValue(const Feature &feature, const std::string &value)
{
    throw Error(GC_ERR_INVALID_VALUE, "Value {} is not allowed for {}", value, feature.name);
}

int64_t ValueOf(const FeatureValues &features, const Limit &limit)
{
    if (limit.number)
    {
        return *limit.number;
    }
    return features.Integer(limit.feature) - (limit.minus.empty() ? 0 : features.Integer(limit.minus));
}

void CheckInteger(const FeatureValues &features, const Feature &feature, int64_t value)
{
    const auto low = feature.minimum ? ValueOf(features, *feature.minimum) : INT64_MIN;
    const auto high = feature.maximum ? ValueOf(features, *feature.maximum) : INT64_MAX;
    const auto origin = feature.minimum ? low : 0;
    if (value < low || value > high || (value - origin) % feature.increment != 0)
    {
        RefuseValue(feature, fmt::to_string(value));
    }
}

void CheckEntry(const FeatureNode &node, int64_t value)
{
    const auto &feature = node.place.feature;
    const auto found = std::ranges::find(feature.entries, value, &EnumEntry::value);
    if (found == feature.entries.end())
    {
        RefuseValue(feature, fmt::to_string(value));
    }
    if (feature.absentEntries.contains(found->name) || node.unavailable.contains(found->name))
    {
        RefuseValue(feature, found->name);
    }
}

void CheckFloat(const Feature &feature, double value)
{
    const bool inRange =
        !feature.floatRange || (value >= feature.floatRange->first && value <= feature.floatRange->second);
    if (!std::isfinite(value) || !inRange)
    {
        RefuseValue(feature, fmt::format("{:f}", value));
    }
}

void CheckFlag(const Feature &feature, int64_t value)
{
    if (value < 0 || value > 1)
    {
        RefuseValue(feature, fmt::to_string(value));
    }
}

} // namespace

void CheckWrite(const FeatureValues &features, const FeatureNode &node, const std::vector<uint8_t> &value)
{
    const auto &feature = node.place.feature;
    if (!feature.lock.empty() && features.IsTrue(feature.lock))
    {
        throw Error(GC_ERR_ACCESS_DENIED, "{} is locked while {} is not 0", feature.name, feature.lock);
    }
    switch (feature.kind)
    {
    case FeatureKind::Integer:
        return CheckInteger(features, feature, DecodeInteger(value, IsSigned(feature)));
    case FeatureKind::Float:
        return CheckFloat(feature, DecodeFloat(value));
    case FeatureKind::Enumeration:
        return CheckEntry(node, DecodeInteger(value));
    case FeatureKind::Boolean:
    case FeatureKind::Command:
        return CheckFlag(feature, DecodeInteger(value));
    case FeatureKind::String:
    case FeatureKind::Bytes:
        return;
    }
}

} // namespace GenTL::simulator
