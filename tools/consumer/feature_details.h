#pragma once

#include "consumer/feature_description.h"
#include "consumer/json.h"
#include "genapi/graph_features.h"

#include <string>

namespace gentlctl
{

/// Describes a feature, its value apart, by what the description states and what can be read now:
///
/// "type", for example "Integer"; "unit"; "min", "max" and "increment" of a number, "maxLength" of a text,
/// when it can be written; "entries" of an enumeration, each with "name", "value", whether it is "available"
/// now, and "description"; "access": "RW", "RO", "WO", "NA" (not available now) or "NI" (not implemented);
/// "lockedBy", the node that locks the feature, and whether it is "locked" now, which makes its access "RO";
/// "selects", the features that it selects; "selectedBy", its selectors; "visibility"; "displayName";
/// "description".
/// @throws std::runtime_error there is no such feature
Json DescribeFeature(GenTL::internal::genapi::GraphFeatures &features, const FeatureDescription &description,
                     const std::string &name);

} // namespace gentlctl
