#pragma once

#include "profile/profile.h"

#include <cstdint>
#include <string>

namespace GenTL::internal
{

/// The only transport layer that FindProducer accepts.
inline constexpr int32_t gigeVision = 1;

/// Path of the lower producer's file: the value of the variable that `identity` names, unchecked, or else the
/// file in the folder `producer_registry` beside this library. The file is neither opened nor loaded.
/// @param tlType gigeVision; any other number throws
/// @throws std::logic_error "Unhandled TlType"
/// @throws GenTLException texts.noLowerProducer, GC_ERR_ERROR
/// @throws std::filesystem::filesystem_error when the folder cannot be read to its end
std::string FindProducer(int32_t tlType, const Identity &identity = {}, const FailureTexts &texts = {});

/// Path of the lower producer's file in one folder; empty when the folder has none.
std::string FindProducerIn(const std::string &folder);

/// The folder that FindProducer searches for a library at `libraryPath`.
std::string ProducerFolder(const std::string &libraryPath);

} // namespace GenTL::internal
