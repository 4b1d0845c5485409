#include "simulator/cameras/depth_features.h"

#include "simulator/cameras/camera_features.h"

#include <fmt/format.h>

#include <algorithm>

namespace GenTL::simulator
{

namespace
{

constexpr const char *scan3dControl = "Scan3dControl";

std::vector<Feature> ModeFeatures()
{
    return {
        Enumeration(scan3dControl, "Scan3dDistanceUnit", "Unit of the coordinates.", {{"Millimeter", 0}})
            .ReadOnly(),
        Enumeration(
            scan3dControl, "Scan3dOutputMode", "What the camera makes of its measurement.",
            {{"UncalibratedC", 16}, {"CalibratedABC_Grid", 17}, {"CalibratedC", 18}, {"RectifiedC", 19}})
            .ConditionalEntries({"CalibratedABC_Grid", "CalibratedC", "RectifiedC"})
            .LockedBy(layoutFrozen),
        Enumeration(scan3dControl, "Scan3dCoordinateSelector",
                    "Coordinate that the features below are about.",
                    {{"CoordinateA", 0}, {"CoordinateB", 1}, {"CoordinateC", 2}})
            .Default(2)
            .ConditionalEntries({"CoordinateA", "CoordinateB"}),
    };
}

/// The features of Scan3dValues. The description shows them in different forms: a register, a converter with
/// a constant as divisor, and a converter with a feature as divisor.
std::vector<Feature> ValueFeatures(double leastScale, double largestScale)
{
    const auto divisor = fmt::to_string(scan3dDivisor);
    return {
        Float("", "Scan3dCoordinateScaleMin", "The least scale of all user sets.")
            .Default(leastScale)
            .ReadOnly()
            .VendorSpecific(),
        Float("", "Scan3dCoordinateScaleMax", "The largest scale of all user sets.")
            .Default(largestScale)
            .ReadOnly()
            .VendorSpecific(),
        Float(scan3dControl, "Scan3dCoordinateScale", "Millimetres of a step of the value.")
            .FloatBounds("Scan3dCoordinateScaleMin", "Scan3dCoordinateScaleMax")
            .ReadOnly()
            .Volatile(),
        Integer(scan3dControl, "Scan3dCoordinateOffset", "Millimetres at the value 0.")
            .DividedBy(divisor)
            .ReadOnly()
            .Volatile()
            .Unit("mm"),
        Integer("", "Scan3dAxisDivisor", "What the register of Scan3dAxisMax is divided by.")
            .Default(scan3dDivisor)
            .ReadOnly()
            .VendorSpecific(),
        Integer(scan3dControl, "Scan3dAxisMin", "The least value that is valid.")
            .DividedBy(divisor)
            .ReadOnly()
            .MayBeNegative() // the coordinates A and B, which a processing producer puts here
            .Volatile(),
        Integer(scan3dControl, "Scan3dAxisMax", "The largest value that is valid.")
            .DividedBy("Scan3dAxisDivisor")
            .ReadOnly()
            .MayBeNegative()
            .Volatile(),
    };
}

std::vector<Feature> InvalidFeatures()
{
    return {
        Boolean(scan3dControl, "Scan3dInvalidDataFlag", "Whether a value stands for pixels without depth.")
            .Default(1)
            .ReadOnly(),
        Float(scan3dControl, "Scan3dInvalidDataValue", "The value of pixels without depth.")
            .ReadOnly()
            .Volatile(),
        Float(scan3dControl, "DepthNoise", "Standard deviation of the depth.")
            .FloatRange(0.0, 100.0)
            .Unit("mm")
            .VendorSpecific(),
    };
}

} // namespace

std::vector<Feature> ComponentFeatures(const std::vector<ImageComponent> &components)
{
    return {
        Enumeration(imageFormatControl, "ComponentSelector",
                    "Image that ComponentEnable and PixelFormat are about.", EntriesOf(components)),
        Boolean(imageFormatControl, "ComponentEnable", "Sends the selected image.")
            .SelectedBy("ComponentSelector")
            .LockedBy(layoutFrozen),
    };
}

Feature IntensityNoiseFeature()
{
    return Float("AnalogControl", "IntensityNoise", "Standard deviation of the intensity in grey levels.")
        .FloatRange(0.0, 100.0)
        .VendorSpecific();
}

std::vector<Feature> Scan3dFeatures(const std::vector<UserSet> &sets)
{
    double leastScale = sets.front().scan.scale;
    double largestScale = leastScale;
    for (const auto &set : sets)
    {
        leastScale = std::min(leastScale, set.scan.scale);
        largestScale = std::max(largestScale, InFormat(set.scan, FindPixelFormat("Coord3D_C8")).scale);
    }
    return Joined(ModeFeatures(), ValueFeatures(leastScale, largestScale), InvalidFeatures());
}

std::vector<Feature> UserSetFeatures(const std::vector<UserSet> &sets)
{
    const char *const category = "UserSetControl";
    return {Enumeration(category, "UserSetSelector", "Set that UserSetLoad and UserSetSave are about.",
                        EntriesOf(sets)),
            Command(category, "UserSetLoad", "Puts the selected set in force.").LockedBy(layoutFrozen),
            Command(category, "UserSetSave", "Makes the features as they are the selected set.")
                .LockedBy(layoutFrozen)};
}

} // namespace GenTL::simulator
