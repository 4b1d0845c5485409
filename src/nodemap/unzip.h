#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace GenTL::internal
{

/// The content of the first file in a zip archive; its name does not matter.
/// @throws GenTLException GC_ERR_IO for bytes that are not a zip archive with a file
std::vector<uint8_t> Unzip(const uint8_t *data, size_t size);

} // namespace GenTL::internal
