#pragma once

#include "nodemap/nodemap_parser.h"

#include <functional>
#include <optional>
#include <set>
#include <string>

namespace GenTL::internal::nodemap
{

/// Goes through the registers behind a node: its own, or those that its formula needs, and those of its
/// limits. A node with neither a register nor a formula is skipped together with its limits.
///
/// Made for one node; the parser must outlive it.
class RegisterVisitor
{
public:
    using Action = std::function<void(const NodeInfo &)>;

    RegisterVisitor(const NodeMapParser &parser, Action action);

    /// @throws std::runtime_error "Converter {} not found!"
    /// @throws GenTLException "Did not find node {}!"
    void Visit(const NodeInfo &node);

private:
    void Act(const NodeInfo &node) const;
    void VisitConverter(const std::string &name) const;
    void VisitBound(const std::optional<Bound> &bound);

    const NodeMapParser &m_parser;
    Action m_action;
    std::set<std::string> m_visited; ///< nodes may be each other's limits
};

} // namespace GenTL::internal::nodemap
