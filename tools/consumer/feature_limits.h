#pragma once

#include "consumer/feature_description.h"
#include "port/i_port.h"

#include <string>

namespace gentlctl
{

/// The values that a feature takes now, as "it takes 16 to 1280"; empty when the description does not say.
std::string DescribeLimits(GenTL::internal::IPort &port, const FeatureDescription &description,
                           const GenTL::internal::nodemap::NodeInfo &node);

} // namespace gentlctl
