#pragma once

#include "genapi/expression.h"
#include "genapi/i_register_port.h"
#include "genapi/literal_cells.h"
#include "genapi/node_graph.h"
#include "genapi/register_cache.h"

#include <map>
#include <string_view>
#include <unordered_map>

namespace GenTL::internal::genapi
{

/// The formulas that were evaluated at least once: most formulas of a description never are.
///
/// Owned by GraphState; as thread-safe as GraphFeatures.
class FormulaStore
{
public:
    /// @throws FormulaError the text of the property is no formula
    const Expression &Compiled(const Property &formula, NumberKind kind)
    {
        const auto known = m_formulas.find(&formula);
        return known != m_formulas.end()
                   ? known->second
                   : m_formulas.try_emplace(&formula, formula.Text(), kind).first->second;
    }

    /// The variables, constants and expressions of a node by name. Of equal names a variable comes first.
    const std::unordered_map<std::string_view, const Property *> &NamesOf(const NodeGraph &graph, NodeId id)
    {
        const auto [names, isNew] = m_names.try_emplace(id);
        if (!isNew)
        {
            return names->second;
        }
        for (const auto tag : {Tag::pVariable, Tag::Constant, Tag::Expression})
        {
            for (const auto &property : graph.PropertiesOf(id))
            {
                if (property.tag == tag)
                {
                    names->second.try_emplace(property.Attribute("Name"), &property);
                }
            }
        }
        return names->second;
    }

private:
    std::map<const Property *, Expression> m_formulas;
    std::unordered_map<NodeId, std::unordered_map<std::string_view, const Property *>> m_names;
};

/// What is kept of a device between two passes. Owned by GraphFeatures; as thread-safe as it.
struct GraphState
{
    GraphState(const NodeGraph &nodes, IRegisterPort &port) : graph(nodes), registers(port), literals(nodes)
    {
    }

    const NodeGraph &graph;
    RegisterCache registers;
    LiteralCells literals;
    FormulaStore formulas;
};

} // namespace GenTL::internal::genapi
