#pragma once

#include <cstddef>
#include <cstdint>

/// What the simulator needs to replay files. It lives in a library of its own, which is loaded when files are
/// replayed: a program that looks for cameras should not wait for decoders and what those need.
extern "C"
{
    /// Where a function says what is wrong, as text that ends with 0.
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
        double depthScale;    ///< mm of a step of the pictures; 0 when the file does not tell
    };

    /// Reads an image file as grey values from 0 (black) to 65535 (white), scaled so that it covers
    /// width x height and cut to that around its centre.
    ///
    /// Gives 1, or 0 when the file is no image that can be read. `out` has width * height values.
    __attribute__((visibility("default"))) int qvrReadGreyImage(const char *path, uint32_t width,
                                                                uint32_t height, uint16_t *out);

    /// Reads an image file of exactly this size. With `isDepth` its values are taken as they are and must be
    /// one of 16 bits for each pixel, else they are grey values from 0 to 65535.
    ///
    /// Gives 1, or 0 and the reason. `out` has width * height values.
    __attribute__((visibility("default"))) int qvrReadPicture(const char *path, uint32_t width,
                                                              uint32_t height, int isDepth, uint16_t *out,
                                                              QvrReason *reason);

    /// Reads a calibration in OpenCV's YAML form. Gives 1, or 0 and the reason.
    __attribute__((visibility("default"))) int qvrReadCalibration(const char *path, QvrCalibration *out,
                                                                  QvrReason *reason);
}
