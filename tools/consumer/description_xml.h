#pragma once

#include "consumer/port.h"

#include <cstdint>
#include <map>
#include <string>

namespace gentlctl
{

/// Writes a number in the form that a description asks for.
using NumberForm = std::string (*)(uint64_t);

/// A module's description, and the properties in it that NodeMapParser does not read.
struct DescriptionXml
{
    std::string text;
    /// Ports that exist at times only: when they exist, for example "only with a frame", by their names.
    std::map<std::string, std::string> passingPorts;
    /// The ids of chunks, by the name of their port.
    std::map<std::string, uint64_t> chunkIds;
    /// The forms of numbers that are addresses, by the name of the node.
    std::map<std::string, NumberForm> forms;
};

/// Reads the description behind a port. Gives each integer, boolean and enumeration with a literal value a
/// register that the port itself holds, so that features, formulas and conditions read and write it like any
/// other.
///
/// `text` contains these registers: NodeMapParser, which reads it next, finds them there.
/// @throws std::runtime_error as LoadDescription
DescriptionXml ReadDescriptionXml(Port &port);

} // namespace gentlctl
