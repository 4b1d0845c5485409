#pragma once

#include "simulator/features/feature_values.h"

namespace GenTL::simulator
{

/// Checks a consumer's write of `value` against the feature's data: lock, limits, increment, entries. The
/// limits may depend on the values of other features.
///
/// @throws Error GC_ERR_ACCESS_DENIED: the feature is locked now.
/// @throws Error GC_ERR_INVALID_VALUE: the value is not allowed now.
void CheckWrite(const FeatureValues &features, const FeatureNode &node, const std::vector<uint8_t> &value);

} // namespace GenTL::simulator
