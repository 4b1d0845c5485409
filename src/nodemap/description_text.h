#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace GenTL::internal
{

/// The text of a description in UTF-8 without a byte order mark, from the bytes that a device stores.
///
/// Understands UTF-8, UTF-16 in both byte orders, and Latin-1. The byte order mark decides, otherwise the
/// first bytes, otherwise the XML declaration. Bytes that are not valid UTF-8 count as Latin-1, whatever is
/// declared. A declaration of another encoding is replaced by one of UTF-8. Cuts off everything before the
/// first `<` and behind the end tag of the RegisterDescription. The rest stays byte for byte.
std::string DescriptionText(std::span<const uint8_t> bytes);

/// Whether the bytes begin like a zip archive. The file's name is no guide: some devices give a wrong one.
bool IsZip(std::span<const uint8_t> bytes);

/// The archive without the bytes behind its end. Some devices give the size of their memory, not of the
/// archive.
std::span<const uint8_t> WithoutTail(std::span<const uint8_t> archive);

} // namespace GenTL::internal
