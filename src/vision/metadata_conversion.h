#pragma once

#include "common/metadata.h"
#include "vision/backend.h"

namespace tarn::cvl
{

using MetadataHandle = detail::Handle<dynamic::Metadata_Destroy>;

/// The library's form of the metadata, for as long as a call needs it. Values of types that the library does
/// not know are left out; the rectangle "Roi" becomes "ROIX", "ROIY", "ROIWidth" and "ROIHeight".
/// @throws as ThrowStatus
MetadataHandle ConvertMetadata(const common::Metadata &metadata);

} // namespace tarn::cvl
