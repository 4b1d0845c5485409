#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace GenTL::internal
{

/// Where a port's URL says that the description lies.
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
    /// Local: the size if its digits are meant in base 10, as some devices give it; none if they cannot be.
    std::optional<uint64_t> decimalSize;
};

/// Reads a URL as ports in the field give it: `local:name;address;size` or `local:///name;address;size`, the
/// scheme in any case, the numbers in base 16 with or without 0x, with a query or none; `file:path` or
/// `file:///path`. A local URL whose numbers cannot be read has the scheme Other.
DescriptionLocation ParseLocation(std::string_view url);

/// The file's name without folders and extension.
std::string StemOf(std::string_view name);

} // namespace GenTL::internal
