#pragma once

#include "consumer/feature_description.h"
#include "consumer/json.h"
#include "port/i_port.h"

#include <cstdint>

namespace gentlctl
{

// Read a feature through a port. They do not check whether the feature has a value now.

/// The value of a feature: number, truth value, name of an entry, text, or bytes in hexadecimal.
/// @throws std::exception the feature cannot be read
Json ReadFeature(GenTL::internal::IPort &port, const FeatureDescription &description,
                 const GenTL::internal::nodemap::NodeInfo &node);

/// The value of a feature that is an integer, or is held as one.
/// @throws std::exception the feature cannot be read
int64_t ReadIntegerFeature(GenTL::internal::IPort &port, const FeatureDescription &description,
                           const GenTL::internal::nodemap::NodeInfo &node);

} // namespace gentlctl
