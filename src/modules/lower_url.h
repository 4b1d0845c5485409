#pragma once

#include "port/proxy_module.h"

namespace GenTL::internal
{

/// GCGetPortURLInfo of a lower module. A command that its producer does not know is answered from the text of
/// the module's first URL.
/// @throws GenTLException the lower failure when the text does not say more; as AnswerFromUrl
void GetLowerUrlInfo(ProxyModule &module, uint32_t index, URL_INFO_CMD command, INFO_DATATYPE *piType,
                     void *pBuffer, size_t *piSize);

} // namespace GenTL::internal
