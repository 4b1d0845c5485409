#include "utils/info.h"

#include "utils/checks.h"

#include <cstring>

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
    CheckNotNull({{"pType", piType}, {"pSize", piSize}});
    *piType = info.type;
    const auto size = info.bytes.size();
    if (pBuffer != nullptr)
    {
        CheckBufferSize(*piSize, size);
        if (size != 0)
        {
            std::memcpy(pBuffer, info.bytes.data(), size);
        }
    }
    *piSize = size;
}

void WriteStringInfo(std::string_view text, INFO_DATATYPE *piType, void *pBuffer, size_t *piSize)
{
    WriteInfo(Info::Text(text), piType, pBuffer, piSize);
}

void WriteBufferInfo(std::string_view bytes, INFO_DATATYPE *piType, void *pBuffer, size_t *piSize)
{
    WriteInfo({INFO_DATATYPE_BUFFER, std::string(bytes)}, piType, pBuffer, piSize);
}

} // namespace GenTL::internal::utils
