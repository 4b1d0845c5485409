#pragma once

#include "depth_axis.h"
#include "depth_points.h"

#include <array>
#include <cmath>
#include <optional>
#include <string>

namespace chain
{

inline const std::string anyProducer = QVR_LIB_DIR "/anygentl/qvr_anygentl.cti";

/// The depth camera behind the producer for any camera.
class AnyDepth : public testing::Test
{
protected:
    const gentlctl::Features &Remote() const { return m_camera.Remote(); }

    void Load(const std::string &userSet) const
    {
        Remote().Set("UserSetSelector", userSet);
        Remote().Execute("UserSetLoad");
    }

    Shot ShotIn(const std::string &mode)
    {
        Remote().Set("Scan3dOutputMode", mode);
        return TakeShot(m_camera);
    }

    DepthCamera m_opened{anyProducer};
    Camera &m_camera{m_opened.camera};
};

/// The pixels of the camera's image that may be the nearest to a place of the sensor: several when the place
/// is about midway between them. None: a place outside of the image.
inline std::array<std::optional<size_t>, 4> PixelsNear(const View &view, const SensorPlace &place)
{
    const double column = (place.column - (view.StepX() - 1) / 2.0) / view.StepX() - view.offsetX;
    const double row = (place.row - (view.StepY() - 1) / 2.0) / view.StepY() - view.offsetY;
    std::array<std::optional<size_t>, 4> pixels;
    for (size_t i = 0; i < pixels.size(); ++i)
    {
        const auto x = std::lround(column + (i % 2 == 0 ? -0.001 : 0.001));
        const auto y = std::lround(row + (i < 2 ? -0.001 : 0.001));
        const bool isInside = x >= 0 && x < view.width && y >= 0 && y < view.height;
        if (isInside)
        {
            pixels.at(i) = static_cast<size_t>(y * view.width + x);
        }
    }
    return pixels;
}

} // namespace chain
