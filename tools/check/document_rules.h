#pragma once

#include "check/trial.h"

#include <cstdint>
#include <span>
#include <string>

namespace gentlctl
{

/// A description, as its port announces it.
struct DocumentClaim
{
    std::string url;
    int32_t schemaMajor = 1; ///< URL_INFO_SCHEMA_VER_MAJOR
    int32_t schemaMinor = 1;
};

/// Reports what hurts the readers of a stored description: bytes behind the end, a broken archive, a name
/// that does not fit the content, XML that does not parse, another schema, references to nothing, chunk ids
/// with an odd number of digits.
/// @param bytes as the port gave them
void CheckDocument(Trial &trial, const DocumentClaim &claim, std::span<const uint8_t> bytes);

} // namespace gentlctl
