#pragma once

#include "gentlctl/image_files.h"

#include <opencv2/core.hpp>

#include <filesystem>

namespace gentlctl
{

/// Where points are looked at from, against the camera that measured them: degrees around the middle of the
/// scene, as seen by the camera.
struct ViewAngles
{
    double right = 28;
    double up = 20;
};

/// A pinhole camera that looks at points. Its axes are those of a camera: x right, y down, z away.
struct Viewpoint
{
    cv::Matx33d rotation = cv::Matx33d::eye(); ///< of the points, around `centre`
    cv::Vec3d centre;                          ///< what stays where it is under the rotation
    double distance = 0;                       ///< of `centre` from the viewpoint
    double focalLength = 1;                    ///< pixels
    cv::Point2d principalPoint;                ///< pixels; where `centre` is seen
    cv::Size size;                             ///< of the picture

    /// A point in the coordinates of the viewpoint.
    cv::Vec3d Turn(const cv::Vec3d &point) const;
    /// The pixel where a turned point is seen.
    cv::Point2d Project(const cv::Vec3d &turned) const;
};

/// Points as they are seen from a viewpoint.
struct PointView
{
    cv::Mat distance;   ///< CV_32F, along the viewpoint's axis; 0 where nothing is seen
    cv::Mat depth;      ///< CV_32F, z of what is seen, as the camera measured it
    cv::Mat brightness; ///< CV_32F, 0 to 1, of the light that falls on what is seen
};

/// Whether a point was measured: not one that is 0 or not a number.
bool HasCoordinates(const cv::Vec3f &point);

/// A viewpoint that is turned by these angles and has all points in sight.
/// @param points CV_32FC3
/// @throws std::runtime_error no point has coordinates
Viewpoint LookAt(const cv::Mat &points, const ViewAngles &angles, cv::Size size);

/// Renders the points, and the surface between neighbours of the grid; neighbours on either side of a step in
/// depth have none. What is nearer to the viewpoint hides what is farther away.
/// @param points CV_32FC3
/// @param intensity CV_8UC1 of the same size, which dims the light; empty without
PointView RenderPoints(const cv::Mat &points, const cv::Mat &intensity, const Viewpoint &viewpoint);

/// Writes a picture of a grid of points from a turned viewpoint: near the camera red and far from it blue,
/// with the axes of the camera and a bar of the colours.
/// @param intensity grey values of the same size; null without
/// @throws std::runtime_error no point has coordinates, or the file cannot be written
void WriteView(const std::filesystem::path &file, const ImageView &points, const ImageView *intensity,
               const ViewAngles &angles);

} // namespace gentlctl
