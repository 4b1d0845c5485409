#pragma once

#include "genapi/evaluator.h"
#include "genapi/feature_types.h"

/// Access to nodes, decided through a pass.
namespace GenTL::internal::genapi
{

/// The access of a node alone, without that of the nodes behind it. A condition that cannot be evaluated
/// counts as "no"; it throws nothing, and the cause says why.
Access OwnAccess(Evaluator &evaluator, NodeId id);

/// The access of a node and of the nodes that carry its value.
/// @throws GenApiError the chain is a circle or names a missing node
Access AccessOf(Evaluator &evaluator, NodeId id);

/// @throws GenApiError the node itself is not implemented, not available or not readable
void CheckReadable(Evaluator &evaluator, NodeId id);
/// @throws GenApiError GC_ERR_ACCESS_DENIED: the node itself is not writable
void CheckWritable(Evaluator &evaluator, NodeId id);

} // namespace GenTL::internal::genapi
