#pragma once

#include <cstdint>

namespace tarn::vision
{

/// Unpacks sample by sample. Tests compare Unpack with it.
void UnpackScalar(uint32_t from, const uint8_t *source, uint32_t to, uint8_t *target, uint32_t width,
                  uint32_t height);

} // namespace tarn::vision
