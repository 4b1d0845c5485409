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
    /// Why a port is there for a time only, as "only with a frame"; by the name of the port.
    std::map<std::string, std::string> passingPorts;
    /// The ids of chunks, by the name of their port.
    std::map<std::string, uint64_t> chunkIds;
    /// The forms of numbers that are addresses, by the name of the node.
    std::map<std::string, NumberForm> forms;
};

/// Reads the description behind a port. An integer that the description gives as a value gets a register of
/// the port's own, so that features, formulas and conditions read and write it as any other.
///
/// NodeMapParser reads the resulting text once more: it has to see those registers, so they must be there
/// before.
/// @throws std::runtime_error as LoadDescription
DescriptionXml ReadDescriptionXml(Port &port);

} // namespace gentlctl
