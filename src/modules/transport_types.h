#pragma once

#include <cstdint>
#include <string_view>

namespace GenTL::internal
{

/// The entry of the enumerations TLType and InterfaceType for the text of a transport layer type.
/// @param allTypes whether each published type is known, and any other text counts as "Custom"; otherwise
/// "GEV", "U3V", "Mixed" and "Custom" are known
/// @throws std::runtime_error "Mapping TL type failed!" for a type that is not known
uint32_t TransportTypeEntry(std::string_view text, bool allTypes);

} // namespace GenTL::internal
