#pragma once

#include "vision_module/unpack_layout.h"

#include <cstddef>
#include <cstdint>

namespace tarn::vision
{

// What Unpack is made of, in a form for each instruction set. Pointers need no alignment.

/// Unpacks `count` samples from the sample with the index `first` on, of an image with `samples` samples.
void UnpackRun(Packing packing, const uint8_t *source, uint64_t samples, uint64_t first, uint64_t count,
               uint8_t *target);

/// Puts the samples of two lines into pixels of two samples.
void CombineLines(uint32_t bytesPerSample, const uint8_t *a, const uint8_t *b, size_t pixels,
                  uint8_t *target);

/// Puts two samples of each of two lines into pixels of four samples, each twice.
void CombineCells(uint32_t bytesPerSample, const uint8_t *ab, const uint8_t *cd, size_t cells,
                  uint8_t *target);

} // namespace tarn::vision
