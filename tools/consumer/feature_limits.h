#pragma once

#include "genapi/graph_features.h"
#include "genapi/node_graph.h"

#include <string>
#include <vector>

namespace gentlctl
{

/// The values that a feature takes now, as "it takes 16 to 1280"; empty when they have no limits, or these
/// cannot be read.
std::string DescribeLimits(GenTL::internal::genapi::GraphFeatures &features,
                           const GenTL::internal::genapi::Node &feature);

} // namespace gentlctl
