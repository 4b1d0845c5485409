#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace GenTL::internal
{

/// Where a URL places the description.
enum class UrlScheme : uint8_t
{
    Local, ///< in the port, at address and size
    File,  ///< in the file system, at path
    Http,  ///< on a server
    Other,
};

/// The place of a description, read from a port's URL.
struct DescriptionLocation
{
    UrlScheme Scheme = UrlScheme::Other;
    std::string Url;  ///< as the port gave it
    std::string Name; ///< Local: the file's name as in the URL
    std::string Path; ///< File: the decoded path
    uint64_t Address = 0;
    uint64_t Size = 0; ///< bytes
    /// Local: the size read in base 10, as some devices write it; none if its digits are not decimal.
    std::optional<uint64_t> DecimalSize;
};

/// Reads the URLs that real devices have: `local:name;address;size` or `local:///name;address;size`, the
/// scheme in any case, the numbers in base 16 with or without 0x, with or without a query; `file:path` or
/// `file:///path`. A local URL whose numbers cannot be read has the scheme Other.
DescriptionLocation ParseLocation(std::string_view url);

/// The file's name without folders and extension.
std::string StemOf(std::string_view name);

} // namespace GenTL::internal
