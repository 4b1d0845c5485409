#include "simulator/cameras/area_camera.h"
#include "simulator/cameras/descriptions.h"
#include "simulator/cameras/format_control.h"
#include "simulator/cameras/wide_cameras.h"

#include <bit>

namespace GenTL::simulator
{

namespace
{

constexpr int64_t sequencerTable = 0x21200;

/// The registers of WIDE-U1. The description has the same addresses.
constexpr WideRegister wideUsbRegisters[] = {
    {"TimestampLatch", 0x944},
    {"TimestampLatchValue", 0x948},
    {"SensorWidth", 0x20000},
    {"SensorHeight", 0x20004},
    {"WidthMax", 0x20008},
    {"HeightMax", 0x2000C},
    {"Width", 0x20010},
    {"Height", 0x20014, true},
    {"OffsetX", 0x20018},
    {"OffsetY", 0x2001C},
    {"PixelFormat", 0x20020},
    {"FormatBits", 0x20024},
    {"TestPattern", 0x20034},
    {"AcquisitionMode", 0x20040},
    {"AcquisitionFrameCount", 0x20044},
    {"AcquisitionStart", 0x20048},
    {"AcquisitionStop", 0x2004C},
    {"AcquisitionFrameRate", 0x20050},
    {"ExposureTime", 0x20054},
    {"Gain", 0x20058, true},
    {"BlackLevelRaw", 0x2005C},
    {"ChunkModeActive", 0x20060},
    {"ChunkSelector", 0x20064},
    {"ChunkEnable", 0x20068},
    {"ChunkEnableLocked", 0x2006C},
    {"PayloadSize", 0x2007C},
    {"TLParamsLocked", 0x20080},
    {"ParametersLocked", 0x20084},
    {"FrameCheck", 0x20088},
    {"DeviceTemperatureRaw", 0x20090, true},
    {"LinkState", 0x20094},
    {"ReferenceVoltage", 0x20098, true},
    {"LineDebouncerRaw", 0x200A0},
    {"LineStatusAll", 0x200A4},
    {"UserSlotSelector", 0x200B0},
    {"UserSlotLimit", 0x200B4},
    {"SequencerTablePointer", 0x200B8, true},
    {"UserDataLength", 0x200BC},
    {"AdvancedLock", 0x200C0},
    {"SmartFeature", 0x200C8},
    {"UserSlotValues", 0x21000},
    {"UserData", 0x21100},
    {"SequencerTable", sequencerTable},
    {"ConfigurationRom", 0xFFFFF0000400},
};

/// Registers that the description reads in ways of its own. None changes an image.
std::vector<Feature> OddFeatures()
{
    constexpr int64_t linkIsReady = 1, twoLanes = 2 << 4, hasMono12p = 1 << 16;
    constexpr int64_t minusTwelveDegrees = -125;    // in tenths
    constexpr int64_t busName = 0x3439333100000404; // "1394" in the second quadlet
    const auto constant = [](const char *name, int64_t value)
    { return Integer("", name, "").Default(value).ReadOnly(); };
    return {
        constant("DeviceTemperatureRaw", minusTwelveDegrees),
        constant("LinkState", linkIsReady | twoLanes | hasMono12p),
        constant("ReferenceVoltage", std::bit_cast<int64_t>(3.3)).Length(8),
        constant("LineStatusAll", 2),
        constant("SequencerTablePointer", sequencerTable),
        Integer("", "BlackLevelRaw", "").Range(0, 1023),
        Integer("", "LineDebouncerRaw", "").Range(0, 255),
        Integer("", "UserSlotSelector", "").Range(0, 3),
        Integer("", "UserSlotLimit", "").Default(300),
        Integer("", "UserDataLength", "").Default(16).Range(1, 64),
        Integer("", "SmartFeature", "").ReadOnly(),
        Bytes("", "AdvancedLock", "", 8),
        Bytes("", "UserSlotValues", "", 16),
        Bytes("", "UserData", "", 64),
        Bytes("", "SequencerTable", "", 32),
        Bytes("", "ConfigurationRom", "", 64).Default(busName).ReadOnly(),
    };
}

std::vector<Feature> WideUsbFormatFeatures()
{
    constexpr int64_t hasMono10 = 1, colourChannels = 3 << 8;
    return {PixelFormatFeature(
                {.sent = {"Mono8", "Mono10", "Mono12p", "RGB8"}, .unpacked = {{"Mono16", 0x01100007}}}),
            Integer("", "FormatBits", "").Default(hasMono10 | colourChannels).ReadOnly()};
}

} // namespace

CameraModel WideUsb()
{
    return {.vendor = wideVendor,
            .model = "WIDE-U1",
            .number = 9,
            .toolTip = "Simulated USB camera of the wide world",
            .interfaceIndex = 3,
            .transport = usb3Vision,
            .complete = [](const CameraModel &identity)
            {
                auto camera =
                    AreaCamera(identity, {.width = 800, .height = 600, .stepX = 2, .stepY = 2},
                               Joined(WideUsbFormatFeatures(), OddFeatures()), Makes<FormatControl>());
                camera.ownDescription = OwnDescription{.document = WideUsbDescription(),
                                                       .registers = FixedRegisters(wideUsbRegisters),
                                                       .byteOrderMark = true};
                return camera;
            }};
}

} // namespace GenTL::simulator
