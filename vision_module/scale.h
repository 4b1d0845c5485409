#pragma once

#include <cstddef>
#include <cstdint>

namespace tarn::vision
{

/// Makes floats of 16-bit samples, each multiplied by the factor at double precision. Neither needs
/// alignment.
void ScaleWords(const uint8_t *samples, size_t count, double factor, uint8_t *floats);

} // namespace tarn::vision
