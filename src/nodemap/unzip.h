#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace GenTL::internal
{

/// The content of the first file in a zip archive; its name does not matter.
/// @throws GenTLException GC_ERR_IO for bytes that are not a zip archive with a file
std::vector<uint8_t> Unzip(const uint8_t *data, size_t size);

/// The content of the first file in a zip archive whose name has this ending, in any case.
/// @throws GenTLException GC_ERR_IO for bytes that are not a zip archive with such a file, and for a file of
/// more than `limit` bytes
std::vector<uint8_t> UnzipFirst(std::span<const uint8_t> archive, std::string_view ending, uint64_t limit);

} // namespace GenTL::internal
