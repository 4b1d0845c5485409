#pragma once

#include "genapi/graph_features.h"

#include <cstdint>
#include <string_view>
#include <vector>

namespace GenTL::internal
{

/// Reads a file of the device through the standard features for file access. Writes these features, and
/// restores the selectors afterwards.
///
/// Nothing else may use the features of file access meanwhile.
/// @throws GenTLException the device lacks the file or a feature, an operation fails, or the file is empty or
/// larger than 1 MiB
std::vector<uint8_t> ReadDeviceFile(genapi::GraphFeatures &features, std::string_view name);

/// Whether the device says that its last file operation failed.
bool HasFileOperationFailed(genapi::GraphFeatures &features);

} // namespace GenTL::internal
