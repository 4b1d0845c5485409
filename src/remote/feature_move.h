#pragma once

#include "genapi/node_graph.h"
#include "remote/document_edits.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace GenTL::internal
{

/// A feature of the device that gets another name, because a public feature takes its name.
struct FeatureMove
{
    genapi::NodeId feature = genapi::noNode;
    std::string deviceName;                       ///< the new name of the device's feature
    bool isShown = false;                         ///< in the category ProxyControl; else invisible
    std::string_view registerBecomes = "Integer"; ///< the public feature's kind for a register or a formula
};

/// Renames references to moved features. A reference that computes limits, addresses or conditions names the
/// device's feature from now on; one that a consumer sees keeps naming the public feature.
void RenameReferences(const genapi::NodeGraph &graph, std::span<const FeatureMove> moves,
                      DocumentEdits &edits);

/// Renames the device's element, and makes it read-only.
void MoveAside(const genapi::NodeGraph &graph, const FeatureMove &move, DocumentEdits &edits);

/// The public feature that takes the device's place: with its name, texts, conditions and selected features,
/// and with the producer's value.
/// @param value the elements of the value, and before them those of the entries
std::string PublicFeature(const genapi::NodeGraph &graph, const FeatureMove &move, std::string_view value,
                          const DocumentEdits &edits);

/// Makes writes to the producer's registers invalidate the device's registers behind a feature, and every
/// node that these invalidate. All these nodes name the producer's registers directly, because some consumers
/// do not follow invalidators from node to node.
/// @param chain the nodes of the feature's value
/// @param writers names of the producer's registers
void AddInvalidators(const genapi::NodeGraph &graph, std::span<const genapi::NodeId> chain,
                     std::span<const std::string> writers, DocumentEdits &edits);

} // namespace GenTL::internal
