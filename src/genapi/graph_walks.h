#pragma once

#include "genapi/node_graph.h"

#include <cstdint>
#include <span>
#include <vector>

/// Questions about a description that need no device.
namespace GenTL::internal::genapi
{

/// The nodes that carry a feature's value: the feature, and what it names as pValue, pValueCopy,
/// pValueIndexed and pValueDefault, down to the registers. A StructEntry is followed by its StructReg. Each
/// node once, in the order of a walk in depth.
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
