#pragma once

#include "nodemap/nodemap_parser.h"
#include "port/i_port.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// Reads and writes the values of features through a port.
///
/// All functions use the port's ReadRegisters and WriteRegisters, below the overrides that a consumer sees.
/// They keep no state and are as thread-safe as the port. Errors of the port pass through. They ignore limits
/// (Min, Max, Inc) and selectors.
namespace GenTL::internal::nodemap
{

/// Reads the node's register in its byte order. Extends the sign of a value of fewer than 8 bytes, whatever
/// the node's Sign.
int64_t ReadInteger(IPort &port, const NodeInfo &node);
/// Like ReadInteger, without sign extension.
uint64_t ReadUnsigned(IPort &port, const NodeInfo &node);
/// Like ReadInteger, cut to the low 32 bits.
uint32_t ReadUnsigned32(IPort &port, const NodeInfo &node);
/// Writes as many low bytes of the value as the register has.
void WriteInteger(IPort &port, const NodeInfo &node, int64_t value);
/// Writes a command. A node of 8 bytes gets the value in both halves.
void WriteCommand(IPort &port, const NodeInfo &node, uint32_t value);
/// Reads the bit of a struct entry.
bool ReadStructEntry(IPort &port, const StructEntryRecord &entry);

/// Whether a condition holds. `name` is the node that a pIsAvailable or pIsImplemented names. True for an
/// empty name, false for an unknown one. A formula holds when its value is greater than 0.
bool IsTrue(IPort &port, const NodeMapParser &parser, const std::string &name);

/// Whether the conditions of a node hold: that of pIsAvailable and that of pIsImplemented.
bool IsAvailable(IPort &port, const NodeMapParser &parser, const NodeInfo &node);
/// Whether a node's conditions hold and its access mode allows reading.
bool IsReadable(IPort &port, const NodeMapParser &parser, const NodeInfo &node);
/// Whether a node's conditions hold and its access mode is RW or None.
bool IsReadableAndWritable(IPort &port, const NodeMapParser &parser, const NodeInfo &node);

/// Reads the value of a literal, or of the node that the bound refers to.
/// @throws std::runtime_error "Bound has no value!", "Double currently not supported!", "Node is not
/// readable"
/// @throws std::bad_variant_access for a floating literal
int64_t GetBoundValue(IPort &port, const NodeMapParser &parser, const std::optional<Bound> &bound);

/// Reads a floating literal, a register of 4 bytes, or a formula.
/// @throws std::runtime_error "Node is not available"
float ReadFloat(IPort &port, const NodeMapParser &parser, const NodeInfo &node);

/// The name of the current entry.
/// @throws std::runtime_error "Enumeration is not readable", "Enumeration entry not found!"
std::string GetEnumEntry(IPort &port, const NodeMapParser &parser, const NodeInfo &node);
/// The names of the entries whose conditions hold, in the order of the description.
std::vector<std::string> GetAvailableEnumEntries(IPort &port, const NodeMapParser &parser,
                                                 const NodeInfo &node);
/// @throws std::runtime_error "Enumeration is not writeable", "Enumeration entry not found", "Enumeration
/// entry not available"
void SetEnumEntry(IPort &port, const NodeMapParser &parser, const NodeInfo &node, const std::string &name);

} // namespace GenTL::internal::nodemap
