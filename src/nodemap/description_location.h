#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace GenTL::internal
{

/// The place of a description, read from a port's URL.
struct DescriptionLocation
{
    enum class Scheme : uint8_t
    {
        Local, ///< in the port, at address and size
        File,  ///< in the file system, at path
        Http,  ///< on a server
        Other,
    };

    Scheme scheme = Scheme::Other;
    std::string url;  ///< as the port gave it
    std::string name; ///< Local: the file's name as in the URL
    std::string path; ///< File: the decoded path
    uint64_t address = 0;
    uint64_t size = 0; ///< bytes
    /// Local: the size read in base 10, as some devices write it; none if its digits are not decimal.
    std::optional<uint64_t> decimalSize;
};

/// Reads the URLs that real devices have: `local:name;address;size` or `local:///name;address;size`, the
/// scheme in any case, the numbers in base 16 with or without 0x, with or without a query; `file:path` or
/// `file:///path`. A local URL whose numbers cannot be read has the scheme Other.
DescriptionLocation ParseLocation(std::string_view url);

/// The file's name without folders and extension.
std::string StemOf(std::string_view name);

} // namespace GenTL::internal
