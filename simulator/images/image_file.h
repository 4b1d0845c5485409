#ifndef QVR_SIMULATOR_IMAGES_IMAGE_FILE_H
#define QVR_SIMULATOR_IMAGES_IMAGE_FILE_H

#include <cstdint>

/**
 * Reads an image file as grey values from 0 (black) to 65535 (white), scaled so that it covers
 * width x height and cut to that around its centre.
 *
 * Lives in a library of its own, which the simulator loads when images are replayed: decoders bring more
 * than a hundred libraries along, and a program that looks for cameras should not wait for those.
 *
 * Gives 1, or 0 when the file is no image that can be read. `out` has width * height values.
 */
extern "C" __attribute__((visibility("default"))) int qvrReadGreyImage(const char *path, uint32_t width,
                                                                       uint32_t height, uint16_t *out);

#endif
