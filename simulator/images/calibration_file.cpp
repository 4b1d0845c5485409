#include "image_file.h"

#include <cmath>
#include <cstdio>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <opencv2/core.hpp>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

using Names = std::initializer_list<const char *>;

constexpr int largestSide = 16384;

/** The file's text, with the first line that OpenCV asks for and other programs leave out. */
std::string ReadText(const char *path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file)
    {
        throw std::runtime_error("can not be read");
    }
    const std::string text((std::istreambuf_iterator<char>(file)), {});
    return text.starts_with("%YAML") ? text : "%YAML:1.0\n---\n" + text;
}

cv::FileStorage Parse(const std::string &text)
{
    try
    {
        return {text, cv::FileStorage::READ | cv::FileStorage::MEMORY | cv::FileStorage::FORMAT_YAML};
    }
    catch (const cv::Exception &)
    {
        throw std::runtime_error("is no YAML file");
    }
}

cv::FileNode TryFind(const cv::FileStorage &file, Names names)
{
    for (const char *const name : names)
    {
        if (const cv::FileNode node = file[name]; !node.empty())
        {
            return node;
        }
    }
    return {};
}

cv::FileNode Find(const cv::FileStorage &file, Names names)
{
    const cv::FileNode node = TryFind(file, names);
    if (node.empty())
    {
        throw std::runtime_error(std::string("has no ") + *names.begin());
    }
    return node;
}

uint32_t ReadSide(const cv::FileStorage &file, Names names)
{
    const cv::FileNode node = Find(file, names);
    const double value = node.isInt() || node.isReal() ? static_cast<double>(node) : 0.0;
    if (!(value >= 16 && value <= largestSide) || value != std::floor(value))
    {
        throw std::runtime_error(std::string(*names.begin()) + " is not from 16 to " +
                                 std::to_string(largestSide));
    }
    return static_cast<uint32_t>(value);
}

/** The numbers of a matrix row by row, also of one that is not marked as OpenCV's. */
std::vector<double> ReadMatrix(const cv::FileStorage &file, Names names)
{
    const cv::FileNode data = Find(file, names)["data"];
    std::vector<double> values;
    for (const cv::FileNode &value : data)
    {
        if ((!value.isInt() && !value.isReal()) || !std::isfinite(static_cast<double>(value)))
        {
            throw std::runtime_error(std::string(*names.begin()) + " has something else than numbers");
        }
        values.push_back(value);
    }
    return values;
}

void ReadCameraMatrix(const cv::FileStorage &file, QvrCalibration &lens)
{
    const std::vector<double> m =
        ReadMatrix(file, {"camera_matrix", "Camera_Matrix", "cameraMatrix", "CameraMatrix"});
    if (m.size() != 9 || m[0] <= 0 || m[4] <= 0 || m[1] != 0 || m[3] != 0 || m[6] != 0 || m[7] != 0 ||
        m[8] != 1)
    {
        throw std::runtime_error("camera_matrix is not of the form fx 0 cx, 0 fy cy, 0 0 1");
    }
    lens.fx = m[0];
    lens.cx = m[2];
    lens.fy = m[4];
    lens.cy = m[5];
}

void ReadDistortion(const cv::FileStorage &file, QvrCalibration &lens)
{
    const std::vector<double> d = ReadMatrix(file, {"distortion_coefficients", "Distortion_Coefficients",
                                                    "distCoeffs", "dist_coeffs", "DistCoeffs"});
    const size_t known = std::size(lens.distortion);
    for (size_t i = 0; i < d.size(); ++i)
    {
        if (i < known)
        {
            lens.distortion[i] = d[i];
        }
        else if (d[i] != 0)
        {
            throw std::runtime_error("distortion_coefficients has more than k1, k2, p1, p2, k3, k4, k5, k6");
        }
    }
    const cv::FileNode model = file["distortion_model"];
    const std::string name = model.isString() ? static_cast<std::string>(model) : "plumb_bob";
    if (name != "plumb_bob" && name != "rational_polynomial")
    {
        throw std::runtime_error("distortion_model " + name + " is not known");
    }
}

QvrCalibration Read(const char *path)
{
    const std::string text = ReadText(path);
    const cv::FileStorage file = Parse(text);
    if (!file.isOpened())
    {
        throw std::runtime_error("is no YAML file");
    }
    QvrCalibration lens{};
    lens.width = ReadSide(file, {"image_width", "image_Width"});
    lens.height = ReadSide(file, {"image_height", "image_Height"});
    ReadCameraMatrix(file, lens);
    ReadDistortion(file, lens);
    if (const cv::FileNode scale = file["depth_scale"]; !scale.empty())
    {
        lens.depthScale = scale.isInt() || scale.isReal() ? static_cast<double>(scale) : 0.0;
        if (!(lens.depthScale >= 0.001 && lens.depthScale <= 1000.0))
        {
            throw std::runtime_error("depth_scale is not from 0.001 to 1000");
        }
    }
    return lens;
}

} // namespace

int qvrReadCalibration(const char *path, QvrCalibration *out, QvrReason *reason)
{
    try
    {
        *out = Read(path);
        return 1;
    }
    catch (const std::exception &error)
    {
        std::snprintf(reason->text, sizeof reason->text, "%s", error.what());
        return 0;
    }
}
