#pragma once

#include "pictures/image_files.h"
#include "pictures/raster.h"

#include <Eigen/Core>

#include <filesystem>

namespace gentlctl
{

/// The direction of a viewpoint: degrees by which it turns around the middle of the scene, away from the
/// camera that measured the points.
struct ViewAngles
{
    double right = 28;
    double up = 20;
};

struct PictureSize
{
    size_t width;
    size_t height;
};

/// A pinhole camera that looks at points. Its axes are those of a camera: x right, y down, z away.
struct Viewpoint
{
    Eigen::Matrix3d rotation = Eigen::Matrix3d::Identity();   ///< of the points, around `centre`
    Eigen::Vector3d centre = Eigen::Vector3d::Zero();         ///< of the rotation
    double distance = 0;                                      ///< of `centre` from the viewpoint
    double focalLength = 1;                                   ///< pixels
    Eigen::Vector2d principalPoint = Eigen::Vector2d::Zero(); ///< pixels; where `centre` is seen
    PictureSize size{};

    /// A point in the coordinates of the viewpoint.
    Eigen::Vector3d Turn(const Eigen::Vector3d &point) const;
    /// The pixel where a turned point is seen.
    Eigen::Vector2d Project(const Eigen::Vector3d &turned) const;
};

/// Points as they are seen from a viewpoint.
struct PointView
{
    Raster<float> distance;   ///< along the viewpoint's axis; 0 where nothing is seen
    Raster<float> depth;      ///< z in the coordinates of the camera that measured the points
    Raster<float> brightness; ///< 0 to 1
};

/// Whether a point was measured: its coordinates are finite and z is not 0.
bool HasCoordinates(const Eigen::Vector3f &point);

/// A viewpoint turned by these angles, with all points in sight.
/// @param points x, y and z
/// @throws std::runtime_error no point has coordinates
Viewpoint LookAt(const Raster<float> &points, const ViewAngles &angles, const PictureSize &size);

/// Renders the points, and the surface between neighbours in the grid unless there is a step in depth between
/// them. Nearer points hide farther ones.
/// @param points x, y and z
/// @param intensity of the same size, which dims the light; empty without
PointView RenderPoints(const Raster<float> &points, const Raster<uint8_t> &intensity,
                       const Viewpoint &viewpoint);

/// Writes a picture of a grid of points from a turned viewpoint, coloured from red near the camera to blue
/// far from it, with the axes of the camera and a bar of the colours.
/// @param intensity grey values of the same size; null without
/// @throws std::runtime_error no point has coordinates, or the file cannot be written
void WriteView(const std::filesystem::path &file, const ImageView &points, const ImageView *intensity,
               const ViewAngles &angles);

} // namespace gentlctl
