#pragma once

#include "genapi/node_graph.h"
#include "genapi/number.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace GenTL::internal::genapi
{

/// The values written to the literals of a description since it was opened. A literal that was never written
/// has its value from the document. Owned by GraphFeatures; as thread-safe as it.
class LiteralCells
{
public:
    explicit LiteralCells(const NodeGraph &graph) : m_graph(graph) {}

    /// The value of an Integer, Float, Boolean, Enumeration or Command with a literal Value.
    /// @throws GenApiError there is no such node, or its Value is no number
    Number Read(std::string_view node) const;
    /// Changes it, whatever its limits and access mode.
    /// @throws GenApiError there is no such node
    void Set(std::string_view node, Number value);

    /// The number written to one literal of a node, else that in the document. Empty if that is no number. A
    /// Boolean may say "true" for its OnValue and "false" for its OffValue.
    std::optional<Number> NumberIn(NodeId node, const Property &literal) const;
    /// The text written to one literal, else that in the document.
    std::string TextIn(const Property &literal) const;
    void Store(const Property &literal, Number value) { m_numbers.insert_or_assign(&literal, value); }
    void Store(const Property &literal, std::string value)
    {
        m_texts.insert_or_assign(&literal, std::move(value));
    }

private:
    const NodeGraph &m_graph;
    std::map<const Property *, Number> m_numbers;
    std::map<const Property *, std::string> m_texts;
};

} // namespace GenTL::internal::genapi
