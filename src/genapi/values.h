#pragma once

#include "genapi/evaluator.h"

#include <cstdint>
#include <string>
#include <string_view>

/// Values of nodes, read through a pass.
namespace GenTL::internal::genapi
{

/// The value of a node as a number, found once per pass: the number of an enumeration, 1 or 0 for a boolean,
/// 1 for a command that is done, else 0.
/// @throws GenApiError the node is not readable or has no number, or a node of its chain fails
Number ValueOf(Evaluator &evaluator, NodeId id);

/// The text of a String or a StringReg, up to its first zero.
std::string TextOf(Evaluator &evaluator, NodeId id);

/// The property that holds the value of a feature: pValue, Value, or the one that pIndex selects. It is a
/// reference or a literal.
/// @throws GenApiError there is none
const Property &SourceOf(Evaluator &evaluator, NodeId id);

/// The name of a node's entry with this number; empty if there is none.
std::string_view EntryName(const Evaluator &evaluator, NodeId enumeration, int64_t value);
int64_t EntryValue(const Evaluator &evaluator, NodeId entry);

/// The value that executing a command writes.
int64_t CommandValue(Evaluator &evaluator, NodeId id);
/// The number that a Boolean stores for true or for false.
int64_t BooleanValue(const Evaluator &evaluator, NodeId id, bool isTrue);

/// An integer in the text of a description. `what` names it in the error.
int64_t IntegerFrom(const Evaluator &evaluator, std::string_view what, std::string_view text);
double FloatFrom(const Evaluator &evaluator, std::string_view what, std::string_view text);
/// The integer in a node's literal, for a StructEntry also in its StructReg's; `missing` if there is none.
int64_t LiteralOr(const Evaluator &evaluator, NodeId id, Tag tag, int64_t missing);

} // namespace GenTL::internal::genapi
