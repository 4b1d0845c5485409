#pragma once

#include <cstddef>
#include <cstdint>

namespace tarn::vision
{

/// Converts 16-bit samples to floats, multiplied by the factor in double precision. Samples and floats need
/// no alignment.
void ScaleWords(const uint8_t *samples, size_t count, double factor, uint8_t *floats);

} // namespace tarn::vision
