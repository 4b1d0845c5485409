#pragma once

#include <cstddef>
#include <cstdint>

/// Reads files for a replay. A library of its own, loaded when files are replayed: a program that only looks
/// for cameras does not wait for the decoders and the libraries that they need.
extern "C"
{
    /// Why a function failed, as a text that ends with 0.
    struct QvrReason
    {
        char text[256];
    };

    /// A lens as cv::calibrateCamera describes it.
    struct QvrCalibration
    {
        uint32_t width;
        uint32_t height;
        double fx, fy, cx, cy;
        double distortion[8]; ///< k1, k2, p1, p2, k3, k4, k5, k6
        double depthScale;    ///< mm per step of the pictures; 0 when the file does not give it
    };

    /// Reads an image file as grey values from 0 (black) to 65535 (white), scaled so that it covers
    /// width x height and cut to that around its centre.
    ///
    /// Returns 1, or 0 when the file cannot be read as an image. `out` has width * height values.
    __attribute__((visibility("default"))) int qvrReadGreyImage(const char *path, uint32_t width,
                                                                uint32_t height, uint16_t *out);

    /// Reads an image file of exactly this size. With `isDepth` the file must have one value of 16 bits for
    /// each pixel, which is taken as it is; otherwise the values are grey, from 0 to 65535.
    ///
    /// Returns 1, or 0 and the reason. `out` has width * height values.
    __attribute__((visibility("default"))) int qvrReadPicture(const char *path, uint32_t width,
                                                              uint32_t height, int isDepth, uint16_t *out,
                                                              QvrReason *reason);

    /// Reads a calibration in OpenCV's YAML form. Returns 1, or 0 and the reason.
    __attribute__((visibility("default"))) int qvrReadCalibration(const char *path, QvrCalibration *out,
                                                                  QvrReason *reason);
}
