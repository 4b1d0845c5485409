#pragma once

#include "utils/info.h"

#include <gentl/gentl.h>

#include <string_view>

namespace GenTL::internal
{

/// Answers GCGetPortURLInfo from the text of a URL.
/// @throws GenTLException GC_ERR_NOT_AVAILABLE for what the text does not say; GC_ERR_NOT_IMPLEMENTED for an
/// unknown command
utils::Info AnswerFromUrl(std::string_view url, URL_INFO_CMD command);

/// @throws GenTLException GC_ERR_NOT_IMPLEMENTED, always
[[noreturn]] void ThrowUnknownUrlCommand(URL_INFO_CMD command);

} // namespace GenTL::internal
