#pragma once

#include "vision_module/unpack_layout.h"

#include <cstddef>
#include <cstdint>

namespace tarn::vision
{

// The steps of Unpack, compiled for each instruction set. Pointers need no alignment.

/// Unpacks `count` samples of an image with `samples` samples, beginning at index `first`.
void UnpackRun(Packing packing, const uint8_t *source, uint64_t samples, uint64_t first, uint64_t count,
               uint8_t *target);

/// Interleaves two lines into pixels of two samples.
void CombineLines(uint32_t bytesPerSample, const uint8_t *a, const uint8_t *b, size_t pixels,
                  uint8_t *target);

/// Interleaves pairs of samples of two lines into pixels of four samples. Each pixel is written twice.
void CombineCells(uint32_t bytesPerSample, const uint8_t *ab, const uint8_t *cd, size_t cells,
                  uint8_t *target);

} // namespace tarn::vision
