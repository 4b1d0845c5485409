#pragma once

#include "genapi/evaluator.h"

#include <cstdint>
#include <optional>

/// Limits of nodes, found through a pass.
namespace GenTL::internal::genapi
{

/// The least value of a node: its own limit, else that of the node behind it, else that of its type or
/// register.
Number MinOf(Evaluator &evaluator, NodeId id);
Number MaxOf(Evaluator &evaluator, NodeId id);
/// Empty if the node and those behind it have none.
std::optional<Number> IncrementOf(Evaluator &evaluator, NodeId id);

/// A limit as an integer. A limit beyond int64 becomes the nearest int64, which limits nothing.
int64_t IntegerLimit(Number limit);

/// Checks a value against limits and increment.
/// @throws GenApiError GC_ERR_INVALID_VALUE
void CheckLimits(Evaluator &evaluator, NodeId id, Number value);

} // namespace GenTL::internal::genapi
