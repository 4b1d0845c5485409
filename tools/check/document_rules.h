#pragma once

#include "check/trial.h"

#include <cstdint>
#include <span>
#include <string>

namespace gentlctl
{

/// What a port says of its description.
struct DocumentClaim
{
    std::string url;
    int32_t schemaMajor = 1; ///< URL_INFO_SCHEMA_VER_MAJOR
    int32_t schemaMinor = 1;
};

/// Reports what in a stored description hurts its readers: bytes behind the end, an archive that is none or
/// that its name denies, XML that does not parse, another schema, references to nothing, odd chunk ids.
/// @param bytes as the port gave them
void CheckDocument(Trial &trial, const DocumentClaim &claim, std::span<const uint8_t> bytes);

} // namespace gentlctl
