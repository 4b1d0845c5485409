// Prints the point that is nearest to a depth camera: points [DEVICE]
#include "gentl_camera.h"

#include <array>
#include <cstdio>

int main(int argc, char **argv)
try
{
    using Point = std::array<float, 3>;
    Camera camera(argc > 1 ? argv[1] : "OVRA-D1");
    camera.GetFeatures().Set("Scan3dOutputMode", "CalibratedABC_Grid");
    camera.Start();
    const Frame frame = camera.Next();
    const auto grid = frame.Pixels<Point>(); // point (column, row) is grid[row * frame.Width() + column]
    const auto hasDepth = [](const Point &point) { return point[2] != 0; };
    const auto isNearer = [&](const Point &a, const Point &b)
    { return hasDepth(a) && (!hasDepth(b) || a[2] < b[2]); };
    const auto nearest = *std::min_element(grid.begin(), grid.end(), isNearer);
    std::printf("%td of %zu pixels have a point\n", std::count_if(grid.begin(), grid.end(), hasDepth),
                grid.size());
    std::printf("the nearest is at x %.1f, y %.1f, z %.1f\n", nearest[0], nearest[1], nearest[2]);
    return 0;
}
catch (const std::exception &error)
{
    std::fprintf(stderr, "points: %s\n", error.what());
    return 1;
}
