#pragma once

#include "depth_shot.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace chain
{

/// The standard features of one coordinate.
struct Axis
{
    Axis(const gentlctl::Features &remote, const std::string &coordinate)
    {
        remote.Set("Scan3dCoordinateSelector", coordinate);
        EXPECT_EQ(remote.Get("Scan3dCoordinateSelector"), coordinate);
        const auto number = [&remote](const char *name) { return remote.Get(name).get<double>(); };
        scale = number("Scan3dCoordinateScale");
        offset = number("Scan3dCoordinateOffset");
        minimum = number("Scan3dAxisMin");
        maximum = number("Scan3dAxisMax");
        hasInvalid = remote.Get("Scan3dInvalidDataFlag").get<bool>();
        invalid = number("Scan3dInvalidDataValue");
    }

    bool IsValid(double value) const { return !hasInvalid || value != invalid; }
    bool Covers(double value) const { return value >= minimum && value <= maximum; }
    double Of(double value) const { return value * scale + offset; }

    double scale;
    double offset;
    double minimum;
    double maximum;
    bool hasInvalid;
    double invalid;
};

template <typename T>
T ValueAt(const ShotPart &part, size_t index)
{
    T value{};
    EXPECT_LE((index + 1) * sizeof value, part.bytes.size());
    std::memcpy(&value, part.bytes.data() + index * sizeof value, sizeof value);
    return value;
}

} // namespace chain
