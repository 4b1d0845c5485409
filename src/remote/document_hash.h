#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace GenTL::internal
{

/// A hash of 128 bits that tells one document from another. It is the same on every machine and in every
/// release, because consumers cache documents under it. It does not protect against forgery.
struct DocumentHash
{
    uint64_t first = 0;
    uint64_t second = 0;

    friend bool operator==(const DocumentHash &, const DocumentHash &) = default;
};

DocumentHash HashOf(std::string_view document);

/// The hash in the form of a GUID: 36 characters.
std::string GuidOf(const DocumentHash &hash);

} // namespace GenTL::internal
