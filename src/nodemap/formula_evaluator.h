#pragma once

#include "nodemap/nodemap_parser.h"
#include "port/i_port.h"

#include <string>

namespace GenTL::internal::nodemap
{

/// Evaluates formulas of a description. Reads every variable from the port each time.
///
/// Made for each use: it refers to the port and the parser, and keeps no state between evaluations.
class FormulaEvaluator
{
public:
    FormulaEvaluator(IPort &port, const NodeMapParser &parser) : m_port(port), m_parser(parser) {}

    /// @throws std::runtime_error "Converter {} not found!", "Unexpected char: ..."
    /// @throws GenTLException GC_ERR_ERROR: a formula or a variable cannot be evaluated, or formulas refer to
    /// each other endlessly. Errors of the port.
    double Evaluate(const std::string &converterName)
    {
        m_evaluations = 0;
        return Evaluate(converterName, 0);
    }

private:
    double Evaluate(const std::string &converterName, int depth);
    double Resolve(const std::string &node, const std::string &converterName, int depth);

    IPort &m_port;
    const NodeMapParser &m_parser;
    int m_evaluations = 0;
};

} // namespace GenTL::internal::nodemap
