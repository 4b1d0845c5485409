#pragma once

#include "nodemap/nodemap_parser.h"
#include "port/i_port.h"

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace GenTL::internal::nodemap
{

/// One bit of a device register.
struct BitReference
{
    uint64_t Address = 0;
    uint64_t Mask = 0;
};

/// An entry of an enumeration with the bits that make it available and implemented. A missing bit counts as
/// set.
struct EnumEntryBits
{
    std::string Name;
    int64_t Value = 0;
    std::optional<BitReference> IsAvailable;
    std::optional<BitReference> IsImplemented;
};

/// The bit behind a pIsAvailable or pIsImplemented: the bit of a formula "VAR & 1", "(VAR >> 3) & 1" or
/// "((VAR >> 3) & 1)", the bit of a struct entry, or the lowest bit of a register. Nullopt for an empty name.
/// @throws std::bad_optional_access for any other formula
/// @throws GenTLException "Did not find node {}!"
std::optional<BitReference> ResolveBitReference(const NodeMapParser &parser, const std::string &name);

/// The entries of an enumeration, in their order.
/// @throws GenTLException "pValue on EnumEntry not supported yet.", GC_ERR_ERROR
std::vector<EnumEntryBits> CollectEnumEntryBits(const NodeMapParser &parser, const NodeInfo &node);

/// Reads bits through a port. Reads each register only once and keeps its value.
class BitReader
{
public:
    BitReader(IPort &port, const NodeMapParser &parser) : m_port(port), m_parser(parser) {}

    /// Whether the bit is set; true for nullopt.
    /// @throws GenTLException "Failed to find node with address {}, this should never happen!", GC_ERR_ERROR;
    /// failures of the port
    bool TestBit(const std::optional<BitReference> &reference);

private:
    IPort &m_port;
    const NodeMapParser &m_parser;
    std::unordered_map<uint64_t, uint64_t> m_registers;
};

} // namespace GenTL::internal::nodemap
