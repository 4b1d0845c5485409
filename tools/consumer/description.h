#pragma once

#include "port/i_port.h"

#include <cstdint>
#include <string>
#include <vector>

namespace gentlctl
{

/// The GenICam description behind a port in UTF-8: unzipped, without a byte order mark, and without the bytes
/// before and behind the document.
/// @throws std::runtime_error the port has no description, its URL is neither "local:" nor "file:", or its
/// size is 0 or more than 1 GiB
std::string LoadDescription(GenTL::internal::IPort &port);

/// The same for bytes that are at hand.
std::string DescriptionIn(std::vector<uint8_t> bytes);

/// The bytes behind the port's URL as they are.
/// @throws std::runtime_error as LoadDescription
std::vector<uint8_t> LoadDescriptionFile(GenTL::internal::IPort &port);

} // namespace gentlctl
