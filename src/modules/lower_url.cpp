#include "modules/lower_url.h"

#include "nodemap/url_answers.h"
#include "utils/gentl_exception.h"
#include "utils/info.h"
#include "utils/lower_info.h"

namespace GenTL::internal
{

void GetLowerUrlInfo(ProxyModule &module, uint32_t index, URL_INFO_CMD command, INFO_DATATYPE *piType,
                     void *pBuffer, size_t *piSize)
{
    try
    {
        return module.ProxyModule::GetPortURLInfo(index, command, piType, pBuffer, piSize);
    }
    catch (const GenTLException &exception)
    {
        const bool isUnknown =
            IsMissingAnswer(exception.Code()) || exception.Code() == GC_ERR_INVALID_PARAMETER;
        if (!isUnknown || index != 0 || piType == nullptr || piSize == nullptr)
        {
            throw;
        }
    }
    const auto url = utils::ReadText([&module](INFO_DATATYPE *, void *buffer, size_t *size)
                                     { module.GetPortURL(static_cast<char *>(buffer), size); });
    utils::WriteInfo(AnswerFromUrl(url, command), piType, pBuffer, piSize);
}

} // namespace GenTL::internal
