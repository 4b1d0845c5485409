#pragma once

#include "port/i_port.h"

#include <cstdint>
#include <string>
#include <vector>

namespace gentlctl
{

/// The GenICam description behind a port, unzipped.
/// @throws std::runtime_error the port has no description, or its URL is neither "local:" nor "file:"
std::string LoadDescription(GenTL::internal::IPort &port);

/// The bytes of a register or a description.
/// @throws std::runtime_error the size is 0 or more than 1 GiB
std::vector<uint8_t> ReadWhole(GenTL::internal::IPort &port, uint64_t address, uint64_t size);

} // namespace gentlctl
