#pragma once

#include "genapi/evaluator.h"

#include <cstdint>
#include <span>
#include <string_view>

/// Writes to nodes, down their chains, through a pass.
namespace GenTL::internal::genapi
{

/// Writes a number to a node. A node of integers rounds it half away from zero.
/// @throws GenApiError GC_ERR_ACCESS_DENIED: a node of the chain is not writable; GC_ERR_INVALID_VALUE: out
/// of limits, no entry, or too large for the register. Nothing is written then, unless a pValueCopy is the
/// one that fails: the value itself stands already.
void WriteNumber(Evaluator &evaluator, NodeId id, Number value);

/// Writes the text of a String or a StringReg. The rest of the register becomes zeros.
/// @throws GenApiError as WriteNumber; GC_ERR_INVALID_VALUE: more bytes than the register has
void WriteText(Evaluator &evaluator, NodeId id, std::string_view text);

/// Writes a register.
/// @throws GenApiError as WriteNumber; GC_ERR_INVALID_VALUE: not as many bytes as the register has
void WriteBytes(Evaluator &evaluator, NodeId id, std::span<const uint8_t> bytes);

} // namespace GenTL::internal::genapi
