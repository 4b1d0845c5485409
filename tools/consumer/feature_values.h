#pragma once

#include "consumer/feature_description.h"
#include "consumer/json.h"
#include "genapi/graph_features.h"

#include <string>

namespace gentlctl
{

/// The value of a feature: number, truth value, name of an entry, text, or bytes in hexadecimal; "(command)"
/// or "(write only)" for a feature without a value to read.
/// @throws std::runtime_error there is no such feature
/// @throws GenApiError the feature cannot be read
Json ReadFeature(GenTL::internal::genapi::GraphFeatures &features, const FeatureDescription &description,
                 const std::string &name);

} // namespace gentlctl
