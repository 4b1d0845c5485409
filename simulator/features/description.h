#pragma once

#include "simulator/features/feature_layout.h"

namespace GenTL::simulator
{

/// What a description says about its module as a whole.
struct DescriptionIdentity
{
    std::string modelName; ///< letters, digits and underscores
    std::string toolTip;
    std::string portName;
    std::string productGuid;
    std::string versionGuid;
};

/// The GenICam description (GenApi schema 1.1) of a module with these features, chunks and events.
std::string BuildDescription(const DescriptionIdentity &identity, const FeatureLayout &layout,
                             const std::vector<ChunkPort> &chunks = {},
                             const std::vector<EventPort> &events = {});

} // namespace GenTL::simulator
