#include "simulator/cameras/camera_features.h"

#include "simulator/sources/pattern_source.h"

namespace GenTL::simulator
{

namespace
{

/// A size of the sensor, or the largest size of the image.
Feature SensorSide(const char *name, const char *toolTip, int64_t pixels)
{
    return Integer(imageFormatControl, name, toolTip)
        .Default(pixels)
        .ReadOnly()
        .Unit("px")
        .Visibility("Expert");
}

/// Size or offset of the region.
Feature RegionSide(const char *name, const char *toolTip, int64_t least, Limit largest, int64_t step)
{
    return Integer(imageFormatControl, name, toolTip)
        .Range(least, std::move(largest), step)
        .Unit("px")
        .LockedBy(layoutFrozen)
        .Volatile();
}

std::vector<Feature> RegionFeatures(const Sensor &sensor)
{
    constexpr int64_t leastWidth = 16; // times 2 rows: room for the header of FrameCheck
    constexpr int64_t leastHeight = 2;
    return {
        SensorSide("SensorWidth", "Width of the sensor in pixels.", sensor.width),
        SensorSide("SensorHeight", "Height of the sensor in pixels.", sensor.height),
        SensorSide("WidthMax", "Largest width of the image with the binning and decimation in force.",
                   sensor.width)
            .Volatile(),
        SensorSide("HeightMax", "Largest height of the image with the binning and decimation in force.",
                   sensor.height)
            .Volatile(),
        RegionSide("Width", "Width of the image in pixels.", leastWidth, Difference("WidthMax", "OffsetX"),
                   sensor.stepX)
            .Default(sensor.width),
        RegionSide("Height", "Height of the image in pixels.", leastHeight,
                   Difference("HeightMax", "OffsetY"), sensor.stepY)
            .Default(sensor.height),
        RegionSide("OffsetX", "Pixels from the left edge of the sensor to the image.", 0,
                   Difference("WidthMax", "Width"), sensor.stepX),
        RegionSide("OffsetY", "Pixels from the upper edge of the sensor to the image.", 0,
                   Difference("HeightMax", "Height"), sensor.stepY),
    };
}

/// Selector, horizontal and vertical factor of "Binning" or "Decimation".
std::vector<Feature> Reduction(const std::string &name, const std::string &effect)
{
    const auto factor = [&](const char *direction)
    {
        return Integer(imageFormatControl, name + direction, effect)
            .Default(1)
            .Range(1, 4)
            .SelectedBy(name + "Selector")
            .LockedBy(layoutFrozen)
            .Visibility("Expert");
    };
    return {Enumeration(imageFormatControl, name + "Selector", "Where on the way of the pixels it is done.",
                        {{"Sensor", 0}})
                .Visibility("Expert"),
            factor("Horizontal"), factor("Vertical")};
}

} // namespace

std::vector<Feature> DeviceFeatures(const CameraModel &model)
{
    const char *const category = "DeviceControl";
    const auto text = [&](const char *name, const char *toolTip, size_t length, const std::string &value)
    { return Text(category, name, toolTip, length).Default(value).ReadOnly(); };
    const auto version = [&](const char *name, const char *toolTip, int64_t value)
    { return Integer(category, name, toolTip).Default(value).ReadOnly().Visibility("Expert"); };
    return {
        text("DeviceVendorName", "Name of the manufacturer.", 32, model.vendor),
        text("DeviceModelName", "Model of the camera.", 32, model.model),
        text("DeviceManufacturerInfo", "What the manufacturer has to say.", 48, "Simulated camera"),
        text("DeviceVersion", "Version of the camera.", 32, cameraVersion),
        text("DeviceFirmwareVersion", "Version of the camera's firmware.", 32, cameraVersion),
        text("DeviceSerialNumber", "Serial number of the camera.", 32, model.SerialNumber()),
        Text(category, "DeviceUserID", "Name that the user gives the camera.", 32),
        version("DeviceSFNCVersionMajor", "Major version of the naming convention.", 2),
        version("DeviceSFNCVersionMinor", "Minor version of the naming convention.", 5),
        version("DeviceSFNCVersionSubMinor", "Sub minor version of the naming convention.", 0),
        Command(category, "TimestampLatch", "Latches the camera's clock into TimestampLatchValue.")
            .Visibility("Expert"),
        Integer(category, "TimestampLatchValue", "The clock as it was latched last.")
            .Length(8)
            .ReadOnly()
            .Volatile()
            .Unit("ns")
            .Visibility("Expert"),
    };
}

std::vector<Feature> GeometryFeatures(const Sensor &sensor, Decimation decimation)
{
    const std::string pixel = decimation == Decimation::SendsFirstPixel ? "the first" : "the middle";
    return Joined(
        RegionFeatures(sensor),
        Reduction("Binning", "Sensor pixels that are averaged into one image pixel in this direction."),
        Reduction("Decimation", "Of so many pixels in this direction only " + pixel + " is sent."));
}

std::vector<Feature> FlipFeatures()
{
    return {Boolean(imageFormatControl, "ReverseX", "Turns the image's left to its right.")
                .LockedBy(layoutFrozen),
            Boolean(imageFormatControl, "ReverseY", "Turns the image upside down.").LockedBy(layoutFrozen)};
}

Feature PixelFormatFeature(const Formats &formats)
{
    std::vector<EnumEntry> entries;
    auto absent = formats.absent;
    for (const auto &name : formats.sent)
    {
        entries.push_back({name, FindPixelFormat(name).code});
    }
    for (const auto &entry : formats.unpacked)
    {
        entries.push_back(entry);
        absent.insert(entry.name);
    }
    return Enumeration(imageFormatControl, "PixelFormat", "Format of the pixels that the camera sends.",
                       std::move(entries))
        .ConditionalEntries(std::move(absent))
        .LockedBy(layoutFrozen);
}

Feature TestPatternFeature()
{
    return Enumeration(imageFormatControl, "TestPattern", "Pattern that replaces the sensor's image.",
                       TestPatterns());
}

std::vector<Feature> AcquisitionFeatures()
{
    const char *const category = "AcquisitionControl";
    return {
        Enumeration(category, "AcquisitionMode", "How many frames an AcquisitionStart gives.",
                    {{"Continuous", 0}, {"SingleFrame", 1}, {"MultiFrame", 2}})
            .LockedBy(layoutFrozen),
        Integer(category, "AcquisitionFrameCount", "Frames of an acquisition in the mode MultiFrame.")
            .Default(1)
            .Range(1, 1000000)
            .LockedBy(layoutFrozen),
        Command(category, "AcquisitionStart", "Starts to send frames."),
        Command(category, "AcquisitionStop", "Stops after the current frame."),
        Float(category, "AcquisitionFrameRate",
              "Frames in a second; 0 for as fast as the consumer gives buffers.")
            .FloatRange(0.0, 10000.0)
            .Unit("Hz"),
        Float(category, "ExposureTime", "How long the sensor collects light; 10000 shows the scene as it is.")
            .Default(10000.0)
            .FloatRange(10.0, 1000000.0)
            .Unit("us")
            .Representation("Logarithmic"),
        Float("AnalogControl", "Gain", "Amplification of the brightness.")
            .FloatRange(0.0, 24.0)
            .Unit("dB")
            .Representation("Linear"),
    };
}

std::vector<Feature> ChunkFeatures(const std::vector<Chunk> &chunks)
{
    const char *const category = "ChunkDataControl";
    return {
        Boolean(category, "ChunkModeActive", "Sends the enabled chunks behind the image.")
            .LockedBy(layoutFrozen)
            .Visibility("Expert"),
        Enumeration(category, "ChunkSelector", "Chunk that ChunkEnable is about.", EntriesOf(chunks))
            .Visibility("Expert"),
        Boolean(category, "ChunkEnable", "Sends the selected chunk when the chunk mode is active.")
            .SelectedBy("ChunkSelector")
            .LockedBy(layoutFrozen, "ChunkEnableLocked")
            .Visibility("Expert"),
        Integer("", "ChunkEnableLocked",
                "1 while the image layout is frozen, and for the chunk that is always sent.")
            .ReadOnly()
            .Volatile()
            .VendorSpecific(),
    };
}

std::vector<Feature> TransportFeatures()
{
    const char *const category = "TransportLayerControl";
    return {
        Integer(category, "PayloadSize", "Bytes of a frame with its chunks.")
            .ReadOnly()
            .Volatile()
            .Unit("B")
            .Visibility("Expert"),
        Integer(category, "TLParamsLocked", "Not 0 while a consumer streams: the image layout is frozen.")
            .Range(0, 1)
            .Visibility("Invisible"),
        Integer("", "ParametersLocked", "1 while the image layout is frozen.")
            .ReadOnly()
            .Volatile()
            .VendorSpecific(),
        Boolean("TestControl", "FrameCheck",
                "Puts frame number and checksum into the first bytes of the image.")
            .LockedBy(layoutFrozen)
            .VendorSpecific(),
    };
}

} // namespace GenTL::simulator
