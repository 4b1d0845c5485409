#pragma once

#include "gentlctl/producer.h"

#include <cstdint>
#include <string>
#include <vector>

namespace pugi
{
class xml_document;
}

namespace gentlctl
{

/// The GenICam description behind a port, unzipped.
/// @throws std::runtime_error no description, or one behind a URL that is neither local nor a file
std::string LoadDescription(Port &port);

/// Bytes behind a port.
/// @throws std::runtime_error no size that a description or a register has
std::vector<uint8_t> ReadWhole(GenTL::internal::IPort &port, uint64_t address, uint64_t size);

/// Gives each integer that a description has as a value a register of the port's own, so that it is read and
/// written as others are, by formulas and conditions, too.
void GiveRegisters(const pugi::xml_document &description, Port &port);

} // namespace gentlctl
