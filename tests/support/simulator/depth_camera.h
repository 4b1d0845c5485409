#pragma once

#include "support/simulator/simulator.h"

#include <cmath>
#include <optional>

namespace simulator_test
{

inline constexpr size_t sensorWidth = 640;
inline constexpr size_t sensorHeight = 480;

// The functions below use the numbers that docs/simulator.md gives for the depth camera's scene and lens.

/// A direction of view as the point at depth 1; a place on the sensor as column and row.
struct Direction
{
    double x;
    double y;
};

/// Where the lens shows a direction, as column and row of the sensor.
inline Direction PlaceOf(Direction direction)
{
    const double x = direction.x;
    const double y = direction.y;
    const double r2 = x * x + y * y;
    const double radial = 1 - 0.21F * r2 + 0.065F * r2 * r2 - 0.008F * r2 * r2 * r2;
    const double p1 = 0.0011F;
    const double p2 = -0.0007F;
    const double shownX = x * radial + 2 * p1 * x * y + p2 * (r2 + 2 * x * x);
    const double shownY = y * radial + p1 * (r2 + 2 * y * y) + 2 * p2 * x * y;
    return {525.5 * shownX + 322.75, 524.25 * shownY + 238.5};
}

/// The direction in which a place of the sensor looks.
inline Direction DirectionAt(double column, double row)
{
    const Direction shown{(column - 322.75) / 525.5, (row - 238.5) / 524.25};
    Direction direction = shown;
    // Corrects the direction by the remaining error again and again; this converges, as the distortion is
    // weak.
    for (int i = 0; i < 200; ++i)
    {
        const Direction place = PlaceOf(direction);
        direction.x += (column - place.x) / 525.5;
        direction.y += (row - place.y) / 524.25;
    }
    return direction;
}

inline double PlaneDepth(Direction direction)
{
    return 1500.0 / (1 - 0.25 * direction.x - 0.10 * direction.y);
}

/// None where the ray misses the sphere.
inline std::optional<double> SphereDepth(Direction direction)
{
    const double a = direction.x * direction.x + direction.y * direction.y + 1;
    const double b = direction.x * -250 + direction.y * -120 + 1150;
    const double c = 250.0 * 250 + 120.0 * 120 + 1150.0 * 1150 - 180.0 * 180;
    const double root = b * b - a * c;
    return root > 0 ? std::optional((b - std::sqrt(root)) / a) : std::nullopt;
}

/// Opens the camera OVRA-D1 and its stream.
class DepthCameraTest : public CameraTest
{
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        OpenCamera("SIM-GIGE-1", "SIM-SIM0007");
    }

    template <typename T>
    T PartInfo(BUFFER_HANDLE buffer, uint32_t part, BUFFER_PART_INFO_CMD command)
    {
        return Ask<T>([&](auto *type, void *out, size_t *size)
                      { return Tl().DSGetBufferPartInfo(m_stream, buffer, part, command, type, out, size); });
    }

    /// The values of a range image that is alone in its frame.
    std::vector<unsigned> GrabRange(size_t bytesPerPixel = 2)
    {
        const std::vector<uint8_t> bytes = GrabOne();
        std::vector<unsigned> values;
        for (size_t i = 0; i + bytesPerPixel <= bytes.size(); i += bytesPerPixel)
        {
            values.push_back(bytes[i] + (bytesPerPixel == 2 ? 256U * bytes[i + 1] : 0U));
        }
        return values;
    }
};

} // namespace simulator_test
