#pragma once

#include "simulator/features/description_nodes.h"
#include "simulator/features/feature_layout.h"

namespace GenTL::simulator
{

/// The nodes that read the bits of a feature with conditional entries.
void AddEntryConditions(DescriptionNodes &nodes, const FeatureLayout::Place &place);

/// The entries of an enumeration, as children of its node.
void AddEntries(pugi::xml_node node, const FeatureLayout::Place &place);

} // namespace GenTL::simulator
