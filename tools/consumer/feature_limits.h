#pragma once

#include "genapi/graph_features.h"
#include "genapi/node_graph.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace gentlctl
{

/// The limits of a feature. A limit that is only that of its type is left out.
template <typename T>
struct Stated
{
    std::optional<T> min;
    std::optional<T> max;
    std::optional<T> increment; ///< other than 1 for an integer
};

/// T is int64_t or double.
/// @throws GenApiError a limit cannot be read
template <typename T>
Stated<T> StatedLimits(GenTL::internal::genapi::GraphFeatures &features, std::string_view name);

extern template Stated<int64_t> StatedLimits(GenTL::internal::genapi::GraphFeatures &, std::string_view);
extern template Stated<double> StatedLimits(GenTL::internal::genapi::GraphFeatures &, std::string_view);

/// The values that a feature takes now, as "it takes 16 to 1280"; empty when they have no limits, or these
/// cannot be read.
std::string DescribeLimits(GenTL::internal::genapi::GraphFeatures &features,
                           const GenTL::internal::genapi::Node &feature);

} // namespace gentlctl
