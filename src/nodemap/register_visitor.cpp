#include "nodemap/register_visitor.h"

#include <utility>

namespace GenTL::internal::nodemap
{

RegisterVisitor::RegisterVisitor(const NodeMapParser &parser, Action action)
    : m_parser(parser), m_action(std::move(action))
{
}

void RegisterVisitor::Visit(const NodeInfo &node)
{
    if (!m_visited.insert(node.Name).second)
    {
        return;
    }
    if (node.Address != 0)
    {
        Act(node);
    }
    else if (node.pValue.empty())
    {
        return;
    }
    else
    {
        VisitConverter(node.pValue);
    }
    VisitBound(node.Min);
    VisitBound(node.Max);
}

void RegisterVisitor::Act(const NodeInfo &node) const
{
    if (node.Address != 0)
    {
        m_action(node);
    }
}

void RegisterVisitor::VisitConverter(const std::string &name) const
{
    const auto &converter = m_parser.FindConverter(name);
    for (const auto &[variable, node] : converter.Variables)
    {
        Act(m_parser.FindNode(node));
    }
    if (!converter.pValue.empty())
    {
        Act(m_parser.FindNode(converter.pValue));
    }
}

void RegisterVisitor::VisitBound(const std::optional<Bound> &bound)
{
    if (!bound || !bound->IsReference)
    {
        return;
    }
    if (const auto *node = std::get_if<VectorPtr>(&bound->Value))
    {
        Visit(**node);
    }
    else if (const auto *name = std::get_if<std::string>(&bound->Value))
    {
        if (m_parser.HasNode(*name))
        {
            Visit(m_parser.FindNode(*name));
        }
        else
        {
            VisitConverter(*name);
        }
    }
}

} // namespace GenTL::internal::nodemap
