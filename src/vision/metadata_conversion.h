#pragma once

#include "common/metadata.h"
#include "vision/backend.h"

namespace tarn::cvl
{

using MetadataHandle = detail::Handle<dynamic::Metadata_Destroy>;

/// Converts metadata for a call of the library. Skips values whose types the library does not know. The
/// rectangle "Roi" becomes "ROIX", "ROIY", "ROIWidth" and "ROIHeight".
/// @throws as ThrowStatus
MetadataHandle ConvertMetadata(const common::Metadata &metadata);

} // namespace tarn::cvl
