#include "consumer/feature_limits.h"

#include "consumer/feature_values.h"
#include "nodemap/formula_evaluator.h"
#include "nodemap/node_access.h"
#include "utils/try.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <optional>
#include <variant>

namespace gentlctl
{

using namespace GenTL::internal::nodemap;
using GenTL::internal::IPort;

namespace
{

/// @throws std::exception the limit cannot be read
std::string ReadLimit(IPort &port, const FeatureDescription &description, const Bound &bound)
{
    if (const auto *number = std::get_if<double>(&bound.Value); number != nullptr && !bound.IsReference)
    {
        return fmt::format("{}", *number);
    }
    if (const auto *name = std::get_if<std::string>(&bound.Value);
        name != nullptr && description.Nodes().TryFindConverter(*name))
    {
        return fmt::format("{}", FormulaEvaluator(port, description.Nodes()).Evaluate(*name));
    }
    if (const auto *node = std::get_if<VectorPtr>(&bound.Value))
    {
        return ReadFeature(port, description, **node).dump();
    }
    return fmt::format("{}", GetBoundValue(port, description.Nodes(), bound));
}

std::optional<std::string> TryReadLimit(IPort &port, const FeatureDescription &description,
                                        const std::optional<Bound> &bound)
{
    return bound ? GenTL::internal::utils::Try([&] { return ReadLimit(port, description, *bound); })
                 : std::nullopt;
}

} // namespace

std::string DescribeLimits(IPort &port, const FeatureDescription &description, const NodeInfo &node)
{
    if (node.Type == "Enumeration")
    {
        return fmt::format("it takes {}",
                           fmt::join(GetAvailableEnumEntries(port, description.Nodes(), node), ", "));
    }
    if (node.Type == "Boolean")
    {
        return "it takes true or false";
    }
    const auto minimum = TryReadLimit(port, description, node.Min);
    const auto maximum = TryReadLimit(port, description, node.Max);
    const auto increment = TryReadLimit(port, description, node.Inc);
    if (!minimum || !maximum)
    {
        return "";
    }
    return fmt::format("it takes {} to {}{}", *minimum, *maximum,
                       increment && *increment != "1" ? " in steps of " + *increment : "");
}

} // namespace gentlctl
