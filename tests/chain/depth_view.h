#pragma once

#include "consumer.h"
#include "support/sanitizer.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

namespace chain
{

/// A view of the depth camera: a region of the pixels that binning and decimation leave.
struct View
{
    std::string name;
    int binningX = 1;
    int binningY = 1;
    int decimationX = 1;
    int decimationY = 1;
    int width = 640;
    int height = 480;
    int offsetX = 0;
    int offsetY = 0;

    /// Sensor pixels per image pixel.
    int StepX() const { return binningX * decimationX; }
    int StepY() const { return binningY * decimationY; }
};

inline std::string NameOf(const testing::TestParamInfo<View> &view)
{
    return view.param.name;
}

inline void PrintTo(const View &view, std::ostream *stream)
{
    *stream << view.name;
}

inline void Use(Camera &camera, const View &view)
{
    const auto set = [&camera](const char *feature, int value)
    { camera.Remote().Set(feature, std::to_string(value)); };
    set("BinningHorizontal", view.binningX);
    set("BinningVertical", view.binningY);
    set("DecimationHorizontal", view.decimationX);
    set("DecimationVertical", view.decimationY);
    set("Width", view.width);
    set("Height", view.height);
    set("OffsetX", view.offsetX);
    set("OffsetY", view.offsetY);
}

/// Range, Intensity and Confidence, in one buffer.
inline void UseAllComponents(Camera &camera)
{
    for (const auto *component : {"Range", "Intensity", "Confidence"})
    {
        camera.Remote().Set("ComponentSelector", component);
        camera.Remote().Set("ComponentEnable", "1");
    }
}

/// The whole picture, three regions of it, a binned region, and a binned and decimated region.
inline std::vector<View> Regions()
{
    return {{"Whole"},
            {"LeftHalf", 1, 1, 1, 1, 320, 480, 0, 0},
            {"LowerRight", 1, 1, 1, 1, 256, 200, 320, 240},
            {"AcrossTheMiddle", 1, 1, 1, 1, 401, 360, 77, 93},
            {"BinnedRegion", 2, 2, 1, 1, 128, 100, 160, 120},
            {"BinnedDecimatedRegion", 2, 1, 1, 2, 250, 180, 20, 10}};
}

namespace internal_view
{

constexpr int largestFactor = 4;

/// The size that binning or decimation leaves; the largest sizes of the camera are multiples of 4.
inline int Left(int pixels, int factor)
{
    return pixels / factor / 4 * 4;
}

template <typename Make>
std::vector<View> ForEachFactor(Make make)
{
    std::vector<View> views;
    for (int x = 1; x <= largestFactor; ++x)
    {
        for (int y = 1; y <= largestFactor; ++y)
        {
            // Under a sanitizer five of the fifteen, with each factor in each direction.
            if (x * y != 1 && (!hasSanitizer || (x + y) % 3 == 0))
            {
                views.push_back(make(x, y));
            }
        }
    }
    return views;
}

inline std::string NameOf(const char *what, int x, int y)
{
    return what + std::to_string(x) + "By" + std::to_string(y);
}

} // namespace internal_view

/// Each binning of the camera, with the whole picture.
inline std::vector<View> Binnings()
{
    return internal_view::ForEachFactor(
        [](int x, int y)
        {
            return View{internal_view::NameOf("Binned", x, y), x, y, 1, 1, internal_view::Left(640, x),
                        internal_view::Left(480, y),           0, 0};
        });
}

inline std::vector<View> Decimations()
{
    return internal_view::ForEachFactor(
        [](int x, int y)
        {
            return View{internal_view::NameOf("Decimated", x, y),
                        1,
                        1,
                        x,
                        y,
                        internal_view::Left(640, x),
                        internal_view::Left(480, y),
                        0,
                        0};
        });
}

} // namespace chain
