#pragma once

#include "genapi/node_graph.h"

#include <cstdint>
#include <span>
#include <vector>

/// Questions about a description that need no device.
namespace GenTL::internal::genapi
{

/// Visits a node and the nodes behind it depth-first, each once. `visit(id, open)` appends the nodes behind
/// `id` to `open`; the one appended last is visited first. noNode is ignored.
template <typename Visit>
void WalkInDepth(const NodeGraph &graph, NodeId start, Visit visit)
{
    std::vector<bool> seen(graph.Size());
    // A list instead of recursion: a chain may be as long as the document.
    std::vector<NodeId> open{start};
    while (!open.empty())
    {
        const auto id = open.back();
        open.pop_back();
        if (id != noNode && !seen[id])
        {
            seen[id] = true;
            visit(id, open);
        }
    }
}

/// Appends the targets of a node's properties whose tag fulfils a condition, the last one first.
template <typename Condition>
void AppendTargets(const NodeGraph &graph, NodeId id, Condition condition, std::vector<NodeId> &open)
{
    const auto properties = graph.PropertiesOf(id);
    for (auto property = properties.rbegin(); property != properties.rend(); ++property)
    {
        if (condition(property->tag))
        {
            open.push_back(property->target);
        }
    }
}

/// The nodes that carry a feature's value: the feature, and what it names as pValue, pValueCopy,
/// pValueIndexed and pValueDefault, down to the registers. A StructEntry is followed by its StructReg. Each
/// node once, depth-first.
std::vector<NodeId> ValueChain(const NodeGraph &graph, NodeId feature);

struct AddressRange
{
    uint64_t address;
    uint64_t length;
};

/// The places of all registers as far as the document states them: for each the sum of its literal addresses,
/// with its literal length. A register without a literal address is left out; a computed length counts as 1.
std::vector<AddressRange> StaticRanges(const NodeGraph &graph);

/// Whether the node is a literal number that a consumer may write: an Integer, Float, Boolean or Enumeration
/// with a Value, without pValue, and no ImposedAccessMode forbids it.
bool IsWritableLiteral(const NodeGraph &graph, NodeId id);

/// The writable literals on which the values, conditions, addresses or limits of the features depend by
/// pIndex, pAddress, pVariable, pIsAvailable or pIsImplemented, directly or through other nodes. pIsLocked is
/// not followed. In document order.
std::vector<NodeId> WritableLiteralsBehind(const NodeGraph &graph, std::span<const NodeId> features);

} // namespace GenTL::internal::genapi
