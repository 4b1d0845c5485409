#include "utils/info.h"

namespace GenTL::internal::utils
{

Info Info::Text(std::string_view text)
{
    Info info{INFO_DATATYPE_STRING, std::string(text)};
    info.bytes.push_back('\0');
    return info;
}

void WriteInfo(const Info &info, INFO_DATATYPE *piType, void *pBuffer, size_t *piSize)
{
    InfoQuery{piType, pBuffer, piSize}.AnswerBytes(info.type, info.bytes.data(), info.bytes.size());
}

void WriteStringInfo(std::string_view text, const InfoQuery &query)
{
    const auto info = Info::Text(text);
    query.AnswerBytes(info.type, info.bytes.data(), info.bytes.size());
}

} // namespace GenTL::internal::utils
