#pragma once

#include "genapi/formula_code.h"

#include <string_view>

namespace GenTL::internal::genapi
{

/// Compiles a formula.
/// @throws FormulaError a text that is no formula, more than 64 KiB, or brackets, functions and operators
/// nested more than 200 deep. A chain of conditions (a ? b : c ? d : e) is not nested.
FormulaCode ParseFormula(std::string_view text);

} // namespace GenTL::internal::genapi
