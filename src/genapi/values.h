#pragma once

#include "genapi/evaluator.h"

#include <cstdint>
#include <string>
#include <string_view>

/// Values of nodes, read through a pass.
namespace GenTL::internal::genapi
{

/// The value of a node as a number, once per pass. An enumeration gives its number, a boolean 1 or 0, a
/// command 1 if it is done, else 0.
/// @throws GenApiError the node is not readable or has no number, and all that its chain meets
Number ValueOf(Evaluator &evaluator, NodeId id);

/// The text of a String or a StringReg, up to its first zero.
std::string TextOf(Evaluator &evaluator, NodeId id);

/// The property that holds the value of a feature: pValue, the Value, or that which pIndex selects; a
/// reference or a literal.
/// @throws GenApiError there is none
const Property &SourceOf(Evaluator &evaluator, NodeId id);

/// The name of a node's entry with this number; empty if there is none.
std::string_view EntryName(const Evaluator &evaluator, NodeId enumeration, int64_t value);
int64_t EntryValue(const Evaluator &evaluator, NodeId entry);

/// What a command is set to when it is executed.
int64_t CommandValue(Evaluator &evaluator, NodeId id);
/// The number of a Boolean that is true, or false.
int64_t BooleanValue(const Evaluator &evaluator, NodeId id, bool isTrue);

/// An integer in the text of a description. `what` names it in the error.
int64_t IntegerFrom(const Evaluator &evaluator, std::string_view what, std::string_view text);
double FloatFrom(const Evaluator &evaluator, std::string_view what, std::string_view text);
/// The integer in a node's literal, which a StructEntry may leave to its StructReg; `missing` if it has none.
int64_t LiteralOr(const Evaluator &evaluator, NodeId id, Tag tag, int64_t missing);

} // namespace GenTL::internal::genapi
