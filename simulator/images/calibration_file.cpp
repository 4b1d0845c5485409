#include "simulator/images/reason.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>
#include <yaml-cpp/yaml.h>

namespace
{

using Names = std::initializer_list<const char *>;

constexpr int largestSide = 16384;

/// Reads the file without its first line "%YAML:1.0", which OpenCV writes and which is not valid YAML.
std::string ReadText(const char *path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file)
    {
        throw std::runtime_error("cannot be read");
    }
    const std::string text((std::istreambuf_iterator<char>(file)), {});
    return text.starts_with("%YAML") ? text.substr(std::min(text.find('\n'), text.size())) : text;
}

YAML::Node Parse(const std::string &text)
{
    try
    {
        if (const YAML::Node file = YAML::Load(text); file.IsMap())
        {
            return file;
        }
    }
    catch (const YAML::Exception &)
    {
    }
    throw std::runtime_error("is no YAML file");
}

/// The first of these that the file has; undefined when it has none.
YAML::Node TryFind(const YAML::Node &file, Names names)
{
    for (const char *const name : names)
    {
        if (const YAML::Node node = file[name])
        {
            return node;
        }
    }
    return YAML::Node(YAML::NodeType::Undefined);
}

YAML::Node Find(const YAML::Node &file, Names names)
{
    YAML::Node node = TryFind(file, names);
    if (!node)
    {
        throw std::runtime_error(fmt::format("has no {}", *names.begin()));
    }
    return node;
}

/// None when the node is not a finite number; a quoted number is a text.
std::optional<double> NumberOf(const YAML::Node &node)
{
    if (!node.IsScalar() || node.Tag() == "!")
    {
        return std::nullopt;
    }
    const auto &text = node.Scalar();
    const char *const begin = text.data() + (text.starts_with('+') ? 1 : 0);
    const char *const end = text.data() + text.size();
    double value = 0;
    const auto [stop, error] = std::from_chars(begin, end, value);
    const bool isNumber = error == std::errc() && stop == end && std::isfinite(value);
    return isNumber ? std::optional(value) : std::nullopt;
}

uint32_t ReadSide(const YAML::Node &file, Names names)
{
    const double value = NumberOf(Find(file, names)).value_or(0);
    if (!(value >= 16 && value <= largestSide) || value != std::floor(value))
    {
        throw std::runtime_error(fmt::format("{} is not from 16 to {}", *names.begin(), largestSide));
    }
    return static_cast<uint32_t>(value);
}

/// The numbers of a matrix, row by row. The matrix need not carry OpenCV's tag.
std::vector<double> ReadMatrix(const YAML::Node &file, Names names)
{
    const YAML::Node matrix = Find(file, names);
    std::vector<double> values;
    for (const YAML::Node &node : matrix.IsMap() ? matrix["data"] : YAML::Node())
    {
        const auto value = NumberOf(node);
        if (!value)
        {
            throw std::runtime_error(fmt::format("{} has something else than numbers", *names.begin()));
        }
        values.push_back(*value);
    }
    return values;
}

void ReadCameraMatrix(const YAML::Node &file, QvrCalibration &lens)
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

void ReadDistortion(const YAML::Node &file, QvrCalibration &lens)
{
    const auto d = ReadMatrix(file, {"distortion_coefficients", "Distortion_Coefficients", "distCoeffs",
                                     "dist_coeffs", "DistCoeffs"});
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
    const YAML::Node model = file["distortion_model"];
    const std::string name = model && model.IsScalar() ? model.Scalar() : "plumb_bob";
    if (name != "plumb_bob" && name != "rational_polynomial")
    {
        throw std::runtime_error(fmt::format("distortion_model {} is not known", name));
    }
}

QvrCalibration Read(const char *path)
{
    const YAML::Node file = Parse(ReadText(path));
    QvrCalibration lens{};
    lens.width = ReadSide(file, {"image_width", "image_Width"});
    lens.height = ReadSide(file, {"image_height", "image_Height"});
    ReadCameraMatrix(file, lens);
    ReadDistortion(file, lens);
    if (const YAML::Node scale = file["depth_scale"])
    {
        lens.depthScale = NumberOf(scale).value_or(0);
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
        GenTL::simulator::WriteReason(error, reason);
        return 0;
    }
}
