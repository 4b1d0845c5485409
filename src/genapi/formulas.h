#pragma once

#include "genapi/evaluator.h"

#include <optional>
#include <string_view>

namespace GenTL::internal::genapi
{

/// The value that a converter puts into a formula: TO or FROM.
struct FormulaArgument
{
    std::string_view name;
    Number value;
};

/// The value of a node's formula: Formula, FormulaFrom or FormulaTo. Integers for IntSwissKnife and
/// IntConverter.
/// @throws GenApiError the formula is missing, is wrong, or has no value now
Number EvaluateFormula(Evaluator &evaluator, NodeId id, Tag formula,
                       const std::optional<FormulaArgument> &argument);

} // namespace GenTL::internal::genapi
