#pragma once

#include "port/i_library.h"
#include "utils/gentl_exception.h"
#include "utils/info.h"

#include <map>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace GenTL::internal
{

/// Answers queries about a producer from a table, and records them.
class FakeInfoProvider final : public ISystemInformationProvider
{
public:
    std::map<TL_INFO_CMD, std::variant<std::string, uint32_t>> answers{
        {TL_INFO_ID, "the id"},
        {TL_INFO_VENDOR, "the vendor"},
        {TL_INFO_MODEL, "the model"},
        {TL_INFO_VERSION, "9.8.7"},
        {TL_INFO_TLTYPE, "GEV"},
        {TL_INFO_PATHNAME, "/opt/producers/this.cti"},
        {TL_INFO_DISPLAYNAME, "the display name"},
        {TL_INFO_GENTL_VER_MAJOR, uint32_t{1}},
        {TL_INFO_GENTL_VER_MINOR, uint32_t{6}}};
    std::vector<TL_INFO_CMD> queries;

    void GetInfo(TL_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer, size_t *piSize) override
    {
        queries.push_back(iInfoCmd);
        const auto answer = answers.find(iInfoCmd);
        if (answer == answers.end())
        {
            throw GenTLException("no such answer", GC_ERR_NOT_IMPLEMENTED);
        }
        if (const auto *text = std::get_if<std::string>(&answer->second))
        {
            return utils::WriteStringInfo(*text, piType, pBuffer, piSize);
        }
        utils::WriteInfo(utils::Info::Uint32(std::get<uint32_t>(answer->second)), piType, pBuffer, piSize);
    }
};

} // namespace GenTL::internal
