#pragma once

#include "genapi/graph_features.h"
#include "utils/try.h"

namespace GenTL::internal
{

/// Whether a condition of an enumeration's entry is met, or absent. One that cannot be evaluated is not met.
/// @param condition pIsImplemented or pIsAvailable
inline bool IsConditionMet(const genapi::NodeGraph &graph, genapi::GraphFeatures &features,
                           genapi::NodeId entry, genapi::Tag condition)
{
    const auto *const reference = graph.Find(entry, condition);
    return reference == nullptr ||
           utils::Try([&] { return genapi::IsTrue(features, reference->Text()); }).value_or(false);
}

} // namespace GenTL::internal
