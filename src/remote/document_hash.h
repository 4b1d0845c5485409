#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace GenTL::internal
{

/// 128 bits that tell one document from another. The same on each machine and in each release, since
/// consumers keep documents by it. No protection against a forger.
struct DocumentHash
{
    uint64_t first = 0;
    uint64_t second = 0;

    friend bool operator==(const DocumentHash &, const DocumentHash &) = default;
};

DocumentHash HashOf(std::string_view document);

/// In the form of a GUID: 36 characters.
std::string GuidOf(const DocumentHash &hash);

} // namespace GenTL::internal
