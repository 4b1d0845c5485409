#pragma once

#include "nodemap/nodemap_parser.h"
#include "port/i_port.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// Values of features: what a node of a description means on a port.
///
/// All operations use the port's ReadRegisters and WriteRegisters, so what a port changes for the consumer
/// is not seen here. They keep no state; each is as thread-safe as the port. Failures of the port pass
/// through. Limits (Min, Max, Inc) are never checked, and no selector is followed.
namespace GenTL::internal::nodemap
{

/// The register, in the node's byte order. Fewer than 8 bytes are sign-extended, whatever Sign says.
int64_t ReadInteger(IPort &port, const NodeInfo &node);
/// The same without sign extension.
uint64_t ReadUnsigned(IPort &port, const NodeInfo &node);
/// The same in 32 bits: bytes beyond the low four are lost.
uint32_t ReadUnsigned32(IPort &port, const NodeInfo &node);
/// Writes the low bytes of the value.
void WriteInteger(IPort &port, const NodeInfo &node, int64_t value);
/// Writes a command; on a node of 8 bytes the value stands in both halves.
void WriteCommand(IPort &port, const NodeInfo &node, uint32_t value);
/// The bit of a struct's entry.
bool ReadStructEntry(IPort &port, const StructEntryRecord &entry);

/// Whether a condition (the node that a pIsAvailable or pIsImplemented names) holds. No name: it does. A name
/// that is nowhere in the document: it does not. A formula holds when it is greater than 0.
bool IsTrue(IPort &port, const NodeMapParser &parser, const std::string &name);

/// Whether the conditions of a node hold: that of pIsAvailable and that of pIsImplemented.
bool IsAvailable(IPort &port, const NodeMapParser &parser, const NodeInfo &node);
/// Whether a node's conditions hold and its access mode allows reading.
bool IsReadable(IPort &port, const NodeMapParser &parser, const NodeInfo &node);
/// Whether a node's conditions hold and its access mode is read and write; a node without an access mode
/// counts.
bool IsReadableAndWritable(IPort &port, const NodeMapParser &parser, const NodeInfo &node);

/// @throws std::runtime_error "Bound has no value!", "Double currently not supported!", "Node is not
/// readable"
/// @throws std::bad_variant_access a floating literal
int64_t GetBoundValue(IPort &port, const NodeMapParser &parser, const std::optional<Bound> &bound);

/// A floating literal, a register of 4 bytes, or a formula.
/// @throws std::runtime_error "Node is not available"
float ReadFloat(IPort &port, const NodeMapParser &parser, const NodeInfo &node);

/// Name of the current entry.
/// @throws std::runtime_error "Enumeration is not readable", "Enumeration entry not found!"
std::string GetEnumEntry(IPort &port, const NodeMapParser &parser, const NodeInfo &node);
/// Names of the entries whose conditions hold, in the description's order.
std::vector<std::string> GetAvailableEnumEntries(IPort &port, const NodeMapParser &parser,
                                                 const NodeInfo &node);
/// @throws std::runtime_error "Enumeration is not writeable", "Enumeration entry not found", "Enumeration
/// entry not available"
void SetEnumEntry(IPort &port, const NodeMapParser &parser, const NodeInfo &node, const std::string &name);

} // namespace GenTL::internal::nodemap
