#include "simulator/depth/depth_scene.h"

#include "simulator/sources/frame_source.h"

#include <cmath>

namespace GenTL::simulator
{

namespace
{

// All lengths in mm. Plane: z = planeDepth + planeX x + planeY y.
constexpr double planeDepth = 1500.0;
constexpr double planeX = 0.25;
constexpr double planeY = 0.10;
constexpr double gridPitch = 100.0; // distance of the lines
constexpr double gridLine = 8.0;    // width of a line
constexpr double bandTop = 330.0;   // y
constexpr double bandBottom = 400.0;

constexpr double sphereX = -250.0;
constexpr double sphereY = -120.0;
constexpr double sphereZ = 1150.0;
constexpr double sphereRadius = 180.0;

constexpr double plateLeft = 150.0;
constexpr double plateRight = 350.0;
constexpr double plateTop = -150.0;
constexpr double plateBottom = 100.0;
constexpr double plateDepth = 1000.0;

/// Share of the light that a surface with this normal reflects: the cosine of the angle to the ray.
double Facing(const Ray &ray, double nx, double ny, double nz)
{
    const double dot = std::abs(ray.x * nx + ray.y * ny + nz);
    return dot / std::sqrt((ray.x * ray.x + ray.y * ray.y + 1) * (nx * nx + ny * ny + nz * nz));
}

DepthPoint Surface(double depth, double reflected, double facing)
{
    return {depth, true, white * reflected * facing, facing};
}

bool IsOnLine(double position)
{
    const double pitches = position / gridPitch; // std::remainder is far slower
    return std::abs(pitches - std::round(pitches)) * gridPitch <= gridLine / 2;
}

DepthPoint Plane(const Ray &ray)
{
    const double depth = planeDepth / (1 - planeX * ray.x - planeY * ray.y);
    const double x = ray.x * depth;
    const double y = ray.y * depth;
    if (y >= bandTop && y <= bandBottom)
    {
        return {depth, false, 0.0, 0.0};
    }
    const double reflected = IsOnLine(x) || IsOnLine(y) ? 0.2 : 0.8;
    return Surface(depth, reflected, Facing(ray, planeX, planeY, -1.0));
}

} // namespace

const Lens &DepthLens()
{
    static constexpr Lens lens = {640,    480,     525.5F,   524.25F, 322.75F, 238.5F, -0.21F,
                                  0.065F, 0.0011F, -0.0007F, -0.008F, 0.0F,    0.0F,   0.0F};
    return lens;
}

const LensDirections &DepthDirections()
{
    static const LensDirections directions(DepthLens());
    return directions;
}

DepthPoint SceneAt(const Ray &ray)
{
    const double x = ray.x * plateDepth;
    const double y = ray.y * plateDepth;
    if (x >= plateLeft && x <= plateRight && y >= plateTop && y <= plateBottom)
    {
        return Surface(plateDepth, 0.5, Facing(ray, 0.0, 0.0, -1.0));
    }
    // The ray meets the sphere in two places; the nearer one is seen.
    const double a = ray.x * ray.x + ray.y * ray.y + 1;
    const double b = ray.x * sphereX + ray.y * sphereY + sphereZ;
    const double c = sphereX * sphereX + sphereY * sphereY + sphereZ * sphereZ - sphereRadius * sphereRadius;
    const double root = b * b - a * c;
    if (root > 0)
    {
        const double depth = (b - std::sqrt(root)) / a;
        return Surface(depth, 0.9,
                       Facing(ray, ray.x * depth - sphereX, ray.y * depth - sphereY, depth - sphereZ));
    }
    return Plane(ray);
}

} // namespace GenTL::simulator
