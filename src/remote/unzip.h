#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace GenTL::internal
{

/// The first file of a zip archive in memory, whatever its name.
/// @throws GenTLException GC_ERR_IO, for anything that is not such an archive
std::vector<uint8_t> Unzip(const uint8_t *data, size_t size);

} // namespace GenTL::internal
