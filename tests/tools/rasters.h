#pragma once

#include "pictures/raster.h"

#include <opencv2/core.hpp>

#include <algorithm>
#include <cstddef>

namespace gentlctl
{

/// Converts samples to OpenCV's type, and back.
template <typename T>
cv::Mat AsMat(const Raster<T> &raster)
{
    cv::Mat mat(static_cast<int>(raster.height), static_cast<int>(raster.width),
                CV_MAKETYPE(cv::DataType<T>::depth, static_cast<int>(raster.channels)));
    std::ranges::copy(raster.samples, mat.ptr<T>());
    return mat;
}

template <typename T>
Raster<T> AsRaster(const cv::Mat &mat)
{
    Raster<T> raster{static_cast<size_t>(mat.cols), static_cast<size_t>(mat.rows),
                     static_cast<size_t>(mat.channels())};
    std::copy_n(mat.ptr<T>(), raster.samples.size(), raster.samples.begin());
    return raster;
}

} // namespace gentlctl
