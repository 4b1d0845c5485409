#pragma once

#include "genapi/graph_features.h"
#include "genapi/node_graph.h"

#include <string>

namespace gentlctl
{

/// Writes a value given as text; a command takes any text.
/// @throws std::runtime_error the text is no value of the feature's type
/// @throws GenApiError the feature cannot be written, or the port refuses the value
void WriteFeature(GenTL::internal::genapi::GraphFeatures &features,
                  const GenTL::internal::genapi::Node &feature, const std::string &value);

} // namespace gentlctl
