#include "remote/edited_url.h"

#include "nodemap/description_location.h"
#include "nodemap/url_answers.h"

#include <fmt/format.h>

#include <algorithm>

namespace GenTL::internal
{

namespace
{

std::string FileName(std::string_view lowerName, const DocumentHash &hash)
{
    constexpr size_t longestStem = 40;
    auto stem = StemOf(lowerName).substr(0, longestStem);
    std::ranges::replace_if(
        stem,
        [](char letter)
        {
            return !((letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z') ||
                     (letter >= '0' && letter <= '9') || letter == '_' || letter == '.' || letter == '-');
        },
        '_');
    return fmt::format("{}_qvrany_{:08x}.xml", stem.empty() ? "device" : stem, hash.first >> 32U);
}

} // namespace

EditedUrl::EditedUrl(const EditedDescription &description, const pugi::xml_node &root,
                     std::string_view lowerName)
    : m_address(description.base),
      m_size(description.document.size()), m_schemaVersion{root.attribute("SchemaMajorVersion").as_int(1),
                                                           root.attribute("SchemaMinorVersion").as_int(1)},
      m_fileVersion{root.attribute("MajorVersion").as_int(1), root.attribute("MinorVersion").as_int(0),
                    root.attribute("SubMinorVersion").as_int(0)},
      m_fileName(FileName(lowerName, description.hash)),
      m_text(fmt::format("local:///{};{:X};{:X}?SchemaVersion={}.{}.0", m_fileName, m_address, m_size,
                         m_schemaVersion[0], m_schemaVersion[1]))
{
}

utils::Info EditedUrl::Answer(URL_INFO_CMD command) const
{
    using utils::Info;
    switch (command)
    {
    case URL_INFO_URL:
        return Info::Text(m_text);
    case URL_INFO_SCHEMA_VER_MAJOR:
        return Info::Int32(m_schemaVersion[0]);
    case URL_INFO_SCHEMA_VER_MINOR:
        return Info::Int32(m_schemaVersion[1]);
    case URL_INFO_FILE_VER_MAJOR:
        return Info::Int32(m_fileVersion[0]);
    case URL_INFO_FILE_VER_MINOR:
        return Info::Int32(m_fileVersion[1]);
    case URL_INFO_FILE_VER_SUBMINOR:
        return Info::Int32(m_fileVersion[2]);
    case URL_INFO_FILE_SHA1_HASH:
        throw GenTLException("The description has no SHA-1", GC_ERR_NOT_AVAILABLE);
    case URL_INFO_FILE_REGISTER_ADDRESS:
        return Info::Uint64(m_address);
    case URL_INFO_FILE_SIZE:
        return Info::Uint64(m_size);
    case URL_INFO_SCHEME:
        return Info::Int32(URL_SCHEME_LOCAL);
    case URL_INFO_FILENAME:
        return Info::Text(m_fileName);
    default:
        ThrowUnknownUrlCommand(command);
    }
}

} // namespace GenTL::internal
