#include "nodemap/formula_evaluator.h"

#include "nodemap/math_expression_parser.h"
#include "nodemap/node_access.h"
#include "utils/gentl_exception.h"

#include <fmt/format.h>

namespace GenTL::internal::nodemap
{
namespace
{

// Far beyond any honest chain of converters. Stops a cycle of formulas before it exhausts the stack.
constexpr int maximumDepth = 100;

// Stops a chain without a cycle in which each formula uses the next one twice: the number of evaluations
// doubles with each formula.
constexpr int maximumEvaluations = 10000;

} // namespace

double FormulaEvaluator::Evaluate(const std::string &converterName, int depth)
{
    if (depth >= maximumDepth || ++m_evaluations > maximumEvaluations)
    {
        throw GenTLException(fmt::format("Recursion on node {} detected!", converterName), GC_ERR_ERROR);
    }
    const auto &record = m_parser.FindConverter(converterName);
    MathExpressionParser::Variables variables;
    variables.reserve(record.Variables.size() + record.Constants.size());
    for (const auto &[variable, node] : record.Variables)
    {
        if (variable.find('.') != std::string::npos)
        {
            throw GenTLException(fmt::format("Node element access currently not implemented. Found {} on {}",
                                             variable, converterName),
                                 GC_ERR_ERROR);
        }
    }
    for (const auto &[variable, node] : record.Variables)
    {
        if (!variable.empty())
        {
            variables.try_emplace(variable, Resolve(node, converterName, depth));
        }
    }
    for (const auto &[constant, value] : record.Constants)
    {
        variables.try_emplace(constant, value);
    }
    if (!record.pValue.empty())
    {
        variables.try_emplace("TO", Resolve(record.pValue, converterName, depth));
    }
    MathExpressionParser expression(record.Formula, std::move(variables));
    const double value = expression.Parse();
    expression.Expect(TokenType::End);
    return value;
}

double FormulaEvaluator::Resolve(const std::string &node, const std::string &converterName, int depth)
{
    if (node == converterName)
    {
        throw GenTLException(fmt::format("Recursion on node {} detected!", node), GC_ERR_ERROR);
    }
    switch (m_parser.GetNodeType(node))
    {
    case GenNodeType::Register:
    case GenNodeType::Interface:
        return static_cast<double>(ReadInteger(m_port, m_parser.FindNode(node)));
    case GenNodeType::Converter:
        return Evaluate(node, depth + 1);
    case GenNodeType::StructEntry:
        return ReadStructEntry(m_port, m_parser.FindStructEntry(node)) ? 1.0 : 0.0;
    default:
        throw GenTLException(fmt::format("Node access for {} is not implemented!", node), GC_ERR_ERROR);
    }
}

} // namespace GenTL::internal::nodemap
