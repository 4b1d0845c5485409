#include "consumer/feature_limits.h"

#include "utils/try.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <cstdint>
#include <limits>

namespace gentlctl
{

using namespace GenTL::internal::genapi;

namespace
{

/// A limit of this size or beyond belongs to the type, not to the feature.
template <typename T>
constexpr T beyond = std::numeric_limits<T>::max();
template <>
constexpr double beyond<double> = double{std::numeric_limits<float>::max()};

/// @throws GenApiError a limit cannot be read
template <typename T>
std::string DescribeRange(GraphFeatures &features, std::string_view name)
{
    const auto limits = StatedLimits<T>(features, name);
    if (!limits.max)
    {
        return "";
    }
    const auto steps = limits.increment ? fmt::format(" in steps of {}", *limits.increment) : "";
    return limits.min ? fmt::format("it takes {} to {}{}", *limits.min, *limits.max, steps)
                      : fmt::format("it takes at most {}{}", *limits.max, steps);
}

std::string DescribeValues(GraphFeatures &features, const Node &feature)
{
    switch (feature.kind)
    {
    case NodeKind::Enumeration:
        return fmt::format("it takes {}",
                           fmt::join(AvailableEntriesOf(features, std::string(feature.name)), ", "));
    case NodeKind::Boolean:
        return "it takes true or false";
    case NodeKind::Command:
    case NodeKind::String:
    case NodeKind::StringReg:
    case NodeKind::Register:
        return "";
    default:
        return IsFloat(feature.kind) ? DescribeRange<double>(features, feature.name)
                                     : DescribeRange<int64_t>(features, feature.name);
    }
}

} // namespace

template <typename T>
Stated<T> StatedLimits(GraphFeatures &features, std::string_view name)
{
    const auto limits = features.LimitsOf<T>(name);
    const auto within = [](T limit) { return limit < beyond<T> && limit > -beyond<T>; };
    return {within(limits.min) ? std::optional(limits.min) : std::nullopt,
            within(limits.max) ? std::optional(limits.max) : std::nullopt,
            limits.increment.value_or(1) != 1 ? limits.increment : std::nullopt};
}

template Stated<int64_t> StatedLimits(GraphFeatures &, std::string_view);
template Stated<double> StatedLimits(GraphFeatures &, std::string_view);

std::string DescribeLimits(GraphFeatures &features, const Node &feature)
{
    return GenTL::internal::utils::Try([&] { return DescribeValues(features, feature); }).value_or("");
}

} // namespace gentlctl
