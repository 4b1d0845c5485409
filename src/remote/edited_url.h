#pragma once

#include "remote/edited_description.h"
#include "utils/info.h"

#include <gentl/gentl.h>
#include <pugixml.hpp>

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace GenTL::internal
{

/// The one URL of a port whose description was edited. Its file name differs for each content, so that a
/// consumer that caches documents never uses the wrong one.
///
/// Owned by EditedView. Constant after construction, so any thread may read it.
class EditedUrl
{
public:
    /// @param root of the device's document; gives the versions
    /// @param lowerName the file's name in the device's URL
    EditedUrl(const EditedDescription &description, const pugi::xml_node &root, std::string_view lowerName);

    const std::string &Text() const { return m_text; }
    /// The answer to GCGetPortURLInfo.
    /// @throws GenTLException GC_ERR_NOT_AVAILABLE for the SHA-1; GC_ERR_NOT_IMPLEMENTED for an unknown
    /// command
    utils::Info Answer(URL_INFO_CMD command) const;

private:
    uint64_t m_address;
    uint64_t m_size;
    std::array<int32_t, 2> m_schemaVersion;
    std::array<int32_t, 3> m_fileVersion;
    std::string m_fileName;
    std::string m_text;
};

} // namespace GenTL::internal
