#pragma once

#include "pixels.h"

#include <opencv2/core.hpp>

namespace GenTL::internal
{

/// Terms of a lens distortion: k1 k2 p1 p2 k3 k4 k5 k6.
using DistortionTerms = std::array<float, 8>;

inline tarn_cvl_CalibrationParameters Camera(uint32_t width, uint32_t height, float focalLengthX,
                                             float focalLengthY, float principalPointX, float principalPointY,
                                             const DistortionTerms &terms = {})
{
    tarn_cvl_CalibrationParameters camera{};
    camera.width = width;
    camera.height = height;
    std::memcpy(camera.opaque, terms.data(), sizeof terms);
    camera.focalLengthX = focalLengthX;
    camera.focalLengthY = focalLengthY;
    camera.principalPointX = principalPointX;
    camera.principalPointY = principalPointY;
    return camera;
}

/// A lens that uses every term and moves the corners by tens of pixels.
inline tarn_cvl_CalibrationParameters DistortingCamera()
{
    return Camera(640, 480, 520.5F, 515.25F, 310.75F, 247.5F,
                  {-0.28F, 0.09F, 0.0015F, -0.002F, -0.01F, 0.02F, -0.004F, 0.001F});
}

inline DistortionTerms TermsOf(const tarn_cvl_CalibrationParameters &camera)
{
    DistortionTerms terms{};
    std::memcpy(terms.data(), camera.opaque, sizeof terms);
    return terms;
}

inline cv::Mat CameraMatrix(const tarn_cvl_CalibrationParameters &camera)
{
    return (cv::Mat_<double>(3, 3) << camera.focalLengthX, 0, camera.principalPointX, //
            0, camera.focalLengthY, camera.principalPointY,                           //
            0, 0, 1);
}

inline cv::Mat Coefficients(const tarn_cvl_CalibrationParameters &camera)
{
    cv::Mat coefficients(1, 8, CV_64F);
    const auto terms = TermsOf(camera);
    for (int i = 0; i < coefficients.cols; ++i)
    {
        coefficients.at<double>(i) = terms.at(static_cast<size_t>(i));
    }
    return coefficients;
}

} // namespace GenTL::internal
