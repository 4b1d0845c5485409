#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace GenTL::internal
{

/// The text of a description in UTF-8 without a byte order mark, from the bytes that a device stores.
///
/// Understands UTF-8, UTF-16 in both byte orders, and Latin-1: by the byte order mark, else by the first
/// bytes, else by the XML declaration. Bytes that are no UTF-8 are Latin-1, whatever is declared. A
/// declaration that names another encoding is replaced by one that
/// names UTF-8. Cuts what stands before the first `<` and behind the end tag of the RegisterDescription. All
/// else stays byte for byte.
std::string DescriptionText(std::span<const uint8_t> bytes);

/// Whether the bytes begin like a zip archive. The file's name does not tell: it is wrong in the field.
bool IsZip(std::span<const uint8_t> bytes);

/// The archive alone, without the bytes behind its end. Devices give the size of their memory and not that of
/// the archive.
std::span<const uint8_t> WithoutTail(std::span<const uint8_t> archive);

} // namespace GenTL::internal
